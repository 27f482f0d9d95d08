#include "koraclient/OutputRow.h"

#include "koraclient/ResultText.h"

namespace koraclient
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

} // namespace koraclient
