#include "koraclient/ResultText.h"

#include "koraclient/KoraTypes.h"
#include "koracommand/ResultCode.h"

namespace koraclient
{
namespace
{

std::string notOnLevel(const char* what, std::uint32_t number, std::uint32_t level)
{
    return std::string(what) + " " + std::to_string(number) + " is not on level " + std::to_string(level) +
           " or not available";
}

std::string held(const char* how, std::uint32_t output, std::optional<std::uint32_t> holder)
{
    std::string text = "output " + std::to_string(output) + " is " + how;
    if (holder)
    {
        text += " by " + std::to_string(*holder);
    }
    return text;
}

} // namespace

std::string takeResultText(std::uint32_t result, std::uint32_t level, std::uint32_t input, std::uint32_t output,
                           std::optional<std::uint32_t> holder)
{
    if (result == resultCode::esfInvalidSrc)
    {
        return notOnLevel("input", input, level);
    }
    return lprResultText(result, level, output, holder);
}

std::string lprResultText(std::uint32_t result, std::uint32_t level, std::uint32_t output,
                          std::optional<std::uint32_t> holder)
{
    switch (result)
    {
    case resultCode::done:
        return "done";
    case resultCode::esfInvalidDst:
        return notOnLevel("output", output, level);
    case resultCode::noSuchLevel:
        return "level " + std::to_string(level) + " does not exist";
    case resultCode::outputLocked:
        return held("locked", output, holder);
    case resultCode::outputProtected:
        return held("protected", output, holder);
    default:
        return "refused with result code " + std::to_string(result);
    }
}

std::string statusResultText(std::uint32_t result, std::uint32_t level, std::uint32_t output)
{
    switch (result)
    {
    case resultCode::done:
        return "ok";
    case resultCode::esfInvalidSrc:
        return "no route";
    case resultCode::groupDisagrees:
        return "the crosspoints of output " + std::to_string(output) + " disagree";
    default:
        return lprResultText(result, level, output, std::nullopt);
    }
}

bool isStatusAnswered(std::uint32_t result)
{
    return result == resultCode::done || result == resultCode::esfInvalidSrc;
}

std::string lprStateText(std::uint32_t lprState)
{
    switch (static_cast<LprState>(lprState))
    {
    case LprState::released:
        return "released";
    case LprState::locked:
        return "locked";
    case LprState::isProtected:
        return "protected";
    }
    return std::to_string(lprState);
}

} // namespace koraclient
