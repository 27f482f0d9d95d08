#include "tools/common/OutputFields.h"

#include "koraclient/ResultText.h"

namespace koractl
{

using koraclient::EntryOutcome;
using koraclient::lprStateText;
using koraclient::OutputRow;
using koraclient::statusResultText;

std::string inputNameOf(const OutputRow& row, std::uint32_t level, const Names& names)
{
    return row.result == 0 ? names.input(level, row.input) : "";
}

nlohmann::ordered_json fieldsOf(const OutputRow& row, std::uint32_t level, const Names& names)
{
    nlohmann::ordered_json json{{"output", row.output}, {"result", row.result}};
    json["input"] = row.result == 0 ? nlohmann::ordered_json(row.input) : nlohmann::ordered_json(nullptr);
    if (row.lpr)
    {
        json["state"] = lprStateText(row.lpr->state);
        json["lprId"] = row.lpr->lprId;
    }
    json["text"] = statusResultText(row.result, level, row.output);
    addName(json, "inputName", inputNameOf(row, level, names));
    addName(json, "outputName", names.output(level, row.output));
    return json;
}

nlohmann::ordered_json resultOf(const EntryOutcome& outcome)
{
    return outcome.isAnswered() ? nlohmann::ordered_json(outcome.result) : nullptr;
}

} // namespace koractl
