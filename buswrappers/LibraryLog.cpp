#include "buswrappers/LibraryLog.h"

#include "runtime/util/VisibleText.h"

#include <exception>
#include <string>
#include <string_view>

namespace com::tallowcrest::routing
{

namespace
{

using dds::core::LogLine;
using Severity = LogLine::Severity;

/// Called on the library's threads, which have no use for exceptions.
void takeDown(const LogLine& line) noexcept
{
    try
    {
        // Never destroyed: the library may speak until the process has ended.
        static auto& log = *new LibraryLog;
        log.write(line);
    }
    catch (const std::exception& problem)
    {
        util::printUnlogged(problem.what(), "DDS library: %.*s", static_cast<int>(line.text.size()), line.text.data());
    }
}

} // namespace

LibraryLog::Channel& LibraryLog::channelFor(Severity severity)
{
    return severity == Severity::info ? m_channels[2] : severity == Severity::warning ? m_channels[1] : m_channels[0];
}

void LibraryLog::write(const LogLine& line)
{
    Channel& channel = channelFor(line.severity);
    if (line.severity != Severity::fatal && !channel.limit.allow(m_clock()))
    {
        return;
    }
    const std::string_view text = line.text.substr(0, line.text.find_last_not_of("\r\n") + 1);
    const auto heldBack = channel.limit.takeHeldBack();
    const std::string before = heldBack == 0 ? "" : std::to_string(heldBack) + " lines were held back; ";
    util::bridgeLogger()->log(channel.level,
                              util::formatText("DDS library: %s%s", before.c_str(), util::visibleText(text).c_str()),
                              util::logLocation({line.file, line.function, line.line}));
}

void logWhatTheLibrarySays()
{
    dds::core::log_sink(takeDown);
}

} // namespace com::tallowcrest::routing
