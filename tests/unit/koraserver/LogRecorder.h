#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Inside log4cxx, because the macros of its object model name its types without their namespace.
namespace log4cxx::recording
{

/// An appender that keeps its lines, each as "LEVEL message".
class RecordingAppender : public log4cxx::AppenderSkeleton
{
public:
    DECLARE_LOG4CXX_OBJECT(RecordingAppender)
    BEGIN_LOG4CXX_CAST_MAP()
    LOG4CXX_CAST_ENTRY(RecordingAppender)
    LOG4CXX_CAST_ENTRY_CHAIN(AppenderSkeleton)
    END_LOG4CXX_CAST_MAP()

    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& pool) override;
    void close() override {}
    bool requiresLayout() const override { return false; }

    std::vector<std::string> lines() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

} // namespace log4cxx::recording

/// Records what is logged to the logger "KORABRIDGE" for as long as it lives. Thread-safe.
class LogRecorder
{
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    const log4cxx::LoggerPtr& logger() const { return m_logger; }
    std::vector<std::string> lines() const { return m_appender->lines(); }
    std::size_t count(const std::string& line) const;
    /// How many lines hold `part`.
    std::size_t countHolding(const std::string& part) const;
    /// True once the line is there, within a deadline.
    bool waitFor(const std::string& line) const;
    bool waitForHolding(const std::string& part) const;

private:
    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<log4cxx::recording::RecordingAppender> m_appender;
};
