#include "tools/koractl/watch/WatchPrinter.h"

#include "koraclient/ResultText.h"
#include "tools/common/OutputFields.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <cstdio>

namespace koractl
{

namespace
{

using koraclient::OutputRow;
using koraclient::statusResultText;

/// A number, and behind it the name in a column of its own when the level has names.
std::string numbered(const std::string& number, std::size_t width, const std::string& name, std::size_t nameWidth)
{
    return padLeft(number, width) + (nameWidth == 0 ? "" : " " + padRight(name, nameWidth));
}

} // namespace

std::string watchLine(std::uint32_t level, const OutputRow& row, const Names& names)
{
    std::string line = "level " + padLeft(std::to_string(level), 3);
    line += "  output " +
            numbered(std::to_string(row.output), 5, names.output(level, row.output), names.outputWidth(level));
    line += "  input " + numbered(row.inputText(), 5, inputNameOf(row, level, names), names.inputWidth(level));
    const std::string remark = row.result == 0 ? "" : statusResultText(row.result, level, row.output);
    std::string state = row.stateText();
    if (!state.empty())
    {
        line += "  " + (remark.empty() ? state : padRight(state, 18));
    }
    if (!remark.empty())
    {
        line += "  " + remark;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string watchJson(std::uint32_t level, const OutputRow& row, const Names& names)
{
    nlohmann::ordered_json json{{"level", level}};
    json.update(fieldsOf(row, level, names));
    return json.dump();
}

void WatchPrinter::changed(std::uint32_t level, const OutputRow& row)
{
    m_context.printLine(m_context.options().json ? watchJson(level, row, m_names) : watchLine(level, row, m_names));
}

void WatchPrinter::missing(std::uint32_t level)
{
    m_context.warn("level " + std::to_string(level) + " does not exist yet; waiting for it");
}

void WatchPrinter::lost(const std::string& reason)
{
    m_context.warn(reason + "; trying to connect again");
}

void WatchPrinter::back(std::chrono::milliseconds gap)
{
    char seconds[40];
    (void)std::snprintf(seconds, sizeof seconds, "%.1f s", static_cast<double>(gap.count()) / 1000);
    const std::string where = m_context.hosts().size() > 1 ? "to " + m_context.hosts().current() + " " : "";
    m_context.warn("connected again " + where + "after " + seconds +
                   "; what changed and changed back meanwhile is not known");
}

void WatchPrinter::resynchronised(std::uint32_t level, std::size_t differing)
{
    m_context.warn("level " + std::to_string(level) + ": " + std::to_string(differing) +
                   (differing == 1 ? " output differs from before" : " outputs differ from before"));
}

} // namespace koractl
