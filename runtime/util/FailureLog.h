#pragma once

#include <log4cxx/logger.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace com::tallowcrest::util
{

/// What went wrong in one step: `cause` tells one kind of failure from another, `text` is the line for the log.
struct Failure
{
    std::string cause;
    std::string text;
};

/// Keeps a step that is retried for ever from flooding the log: its line is logged at WARN when the cause first
/// appears, then at most once a minute with the number of repeats. Owned and used by one thread.
class FailureLog
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr std::chrono::seconds interval{60};

    explicit FailureLog(log4cxx::LoggerPtr logger, Clock clock = std::chrono::steady_clock::now);

    void warn(const Failure& failure);

    /// The step succeeded: the next failure counts as a first one. Repeats not logged yet are logged now.
    void succeeded();

private:
    void logRepeats();

    log4cxx::LoggerPtr m_logger;
    Clock m_clock;
    Failure m_latest;
    std::uint32_t m_repeats = 0;
    std::chrono::steady_clock::time_point m_loggedAt;
};

} // namespace com::tallowcrest::util
