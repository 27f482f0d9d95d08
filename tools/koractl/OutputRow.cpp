#include "tools/koractl/OutputRow.h"

#include "tools/koractl/NameColumns.h"
#include "tools/koractl/ResultText.h"

namespace koractl
{

std::string OutputLpr::text() const
{
    return lprStateText(state) + (isHeld() ? " by " + std::to_string(lprId) : "");
}

std::string OutputRow::inputText() const
{
    return result == 0 ? std::to_string(input) : "-";
}

std::string OutputRow::stateText() const
{
    if (!lpr)
    {
        return "";
    }
    return lpr->text();
}

std::string OutputRow::inputName(std::uint32_t level, const Names& names) const
{
    return result == 0 ? names.input(level, input) : "";
}

nlohmann::ordered_json OutputRow::toJson(std::uint32_t level, const Names& names) const
{
    nlohmann::ordered_json json{{"output", output}, {"result", result}};
    json["input"] = result == 0 ? nlohmann::ordered_json(input) : nlohmann::ordered_json(nullptr);
    if (lpr)
    {
        json["state"] = lprStateText(lpr->state);
        json["lprId"] = lpr->lprId;
    }
    json["text"] = statusResultText(result, level, output);
    addName(json, "inputName", inputName(level, names));
    addName(json, "outputName", names.output(level, output));
    return json;
}

} // namespace koractl
