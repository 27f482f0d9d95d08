#pragma once

#include "runtime/util/Log.h"

#include <log4cxx/logger.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace com::tallowcrest::util
{

/// Decides which of many equal log lines are written: a few per interval, the rest is counted. Thread-safe.
class LogLimit
{
public:
    using Clock = std::chrono::steady_clock;

    /// At most `burst` lines in each `interval`.
    LogLimit(int burst, Clock::duration interval) : m_burst(burst), m_interval(interval) {}
    LogLimit(const LogLimit&) = delete;
    LogLimit& operator=(const LogLimit&) = delete;
    /// One line, until `clear`.
    static LogLimit once() { return {1, Clock::duration::max()}; }

    /// True when a line that is due `now` is to be written; otherwise it is counted.
    bool allow(Clock::time_point now = Clock::now());
    /// Forgets all: what is due next is news.
    void clear();
    /// How many lines were held back since the last call.
    std::uint32_t takeHeldBack();

private:
    const int m_burst;
    const Clock::duration m_interval;
    std::mutex m_mutex; // guards everything below
    Clock::time_point m_begin;
    int m_written = 0;
    std::uint32_t m_heldBack = 0;
};

/// What went wrong in one step.
struct Failure
{
    /// `what` tells one kind of failure from another, `line` is for the log, `here` is who failed.
    Failure(std::string what, std::string line, SourceLocation here = SourceLocation::current());

    std::string cause;
    std::string text;
    SourceLocation where;
};

/// Keeps a step that is retried for ever from flooding the log: its line is logged at WARN when the cause first
/// appears, then at most once a minute with the number of repeats. The lines bear the location of who failed. Owned and
/// used by one thread.
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
    void logRepeats(std::uint32_t count) const;

    log4cxx::LoggerPtr m_logger;
    Clock m_clock;
    LogLimit m_limit{1, interval};
    std::optional<Failure> m_latest;
};

} // namespace com::tallowcrest::util
