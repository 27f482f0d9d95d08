#pragma once

#include "runtime/util/LogLimit.h"
#include "runtime/util/SourceLocation.h"

#include <log4cxx/logger.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace com::tallowcrest::util
{

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
