#include "tools/koractl/watch/WatchPrinter.h"

#include <cstdio>

#include "tools/koractl/watch/WatchLine.h"

namespace koractl
{

using koraclient::OutputRow;

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
    m_context.warn(std::string("connected again after ") + seconds +
                   "; what changed and changed back meanwhile is not known");
}

void WatchPrinter::resynchronised(std::uint32_t level, std::size_t differing)
{
    m_context.warn("level " + std::to_string(level) + ": " + std::to_string(differing) +
                   (differing == 1 ? " output differs from before" : " outputs differ from before"));
}

} // namespace koractl
