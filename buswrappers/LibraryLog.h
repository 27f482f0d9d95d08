#pragma once

#include "dds/core/LogSink.hpp"
#include "runtime/util/FailureLog.h"
#include "runtime/util/Log.h"

#include <array>
#include <chrono>
#include <utility>

namespace com::tallowcrest::routing
{

/// Takes down in the bridge's log what the DDS library has to say: its errors at ERROR, warnings at WARN, the rest at
/// INFO, of each the first few lines a minute, because whoever sends on the bus can make it speak with every packet.
/// The next line that is written tells how many were held back. Thread-safe.
class LibraryLog
{
public:
    static constexpr int mostLines = 5; ///< of each level, a minute

    explicit LibraryLog(util::FailureLog::Clock clock = std::chrono::steady_clock::now) : m_clock(std::move(clock)) {}

    /// What ends the process is always written.
    void write(const dds::core::LogLine& line);

private:
    /// Lines of one level.
    struct Channel
    {
        log4cxx::LevelPtr level;
        util::LogLimit limit{mostLines, std::chrono::minutes(1)};
    };

    Channel& channelFor(dds::core::LogLine::Severity severity);

    const util::FailureLog::Clock m_clock;
    std::array<Channel, 3> m_channels{Channel{.level = log4cxx::Level::getError()},
                                      Channel{.level = log4cxx::Level::getWarn()},
                                      Channel{.level = log4cxx::Level::getInfo()}};
};

/// From now on that happens, instead of lines on standard error. Any thread, any number of times.
void logWhatTheLibrarySays();

} // namespace com::tallowcrest::routing
