#include "tools/koractl/OutputRow.h"

#include "tools/koractl/KoraTypes.h"
#include "tools/koractl/ResultText.h"

namespace koractl
{

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
    const bool isHeld = lpr->state != static_cast<std::uint32_t>(LprState::released);
    return lprStateText(lpr->state) + (isHeld ? " by " + std::to_string(lpr->lprId) : "");
}

nlohmann::ordered_json OutputRow::toJson(std::uint32_t level) const
{
    nlohmann::ordered_json json{{"output", output}, {"result", result}};
    json["input"] = result == 0 ? nlohmann::ordered_json(input) : nlohmann::ordered_json(nullptr);
    if (lpr)
    {
        json["state"] = lprStateText(lpr->state);
        json["lprId"] = lpr->lprId;
    }
    json["text"] = statusResultText(result, level, output);
    return json;
}

} // namespace koractl
