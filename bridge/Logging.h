#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/writerappender.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// Configures log4cxx once at start. Main thread.
///
/// A file that ends in ".xml" goes to the XML configurator, any other to the properties configurator; a `watchDelay`
/// (milliseconds) other than 0 makes log4cxx look at the file again at that interval. A file that cannot be found is
/// reported on standard error and replaced by a console appender at DEBUG. A file that exists without its owner-read
/// permission leaves logging as it is.
void configureLogging(const std::string& path, long watchDelay);

/// Stands before one appender of the log configuration, so that trouble with a log file costs log lines and never the
/// thread that logs: an appender reports a full disk by an exception, and one that found no descriptor or no space when
/// it turned to a new file drops everything from then on. The guard counts the lines that are lost, says so on standard
/// error, opens the file again as soon as that is possible, and logs how many were lost. Thread-safe: the appender's
/// own lock is held during `append`. Shared with the loggers that use it.
class LogGuard final : public log4cxx::AppenderSkeleton
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;
    /// How often a lost file is tried, and how often standard error is told at most.
    static constexpr std::chrono::seconds retryTime{1};
    static constexpr std::chrono::seconds complaintTime{60};

    explicit LogGuard(log4cxx::AppenderPtr guarded, Clock clock = std::chrono::steady_clock::now);
    ~LogGuard() override;
    LogGuard(const LogGuard&) = delete;
    LogGuard& operator=(const LogGuard&) = delete;

    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& pool) override;
    void close() override;
    bool requiresLayout() const override { return false; }
    log4cxx::LayoutPtr getLayout() const override { return m_guarded->getLayout(); }
    log4cxx::LogString getName() const override { return m_guarded->getName(); }

private:
    bool hasLostItsFile() const;
    /// Opens the guarded appender's file anew, at most once in `retryTime`; true when lines can be written again.
    bool reopen(log4cxx::helpers::Pool& pool);
    void countLost(const std::string& reason) noexcept;
    void logLoss(log4cxx::helpers::Pool& pool);

    const log4cxx::AppenderPtr m_guarded;
    const log4cxx::WriterAppenderPtr m_writing; ///< the same one when it writes to a stream, else null
    const Clock m_clock;
    std::optional<Time> m_triedAt;
    std::optional<Time> m_complainedAt;
    std::uint32_t m_lost = 0;
    std::string m_reason;
};

/// Puts a guard before each appender of the present log configuration. Main thread, after the configuration.
void guardLogAppenders();
