#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Collects what is logged to "KORABRIDGE" while it lives, as "LEVEL text". Thread-safe.
class CapturedLog
{
public:
    CapturedLog() : m_logger(log4cxx::Logger::getLogger("KORABRIDGE")), m_appender(new Appender)
    {
        m_logger->setLevel(log4cxx::Level::getDebug());
        m_logger->setAdditivity(false);
        m_logger->addAppender(m_appender);
    }
    ~CapturedLog() { m_logger->removeAppender(m_appender); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    /// What has been logged since the last call.
    std::vector<std::string> lines() { return m_appender->lines(); }

private:
    class Appender : public log4cxx::AppenderSkeleton
    {
    public:
        void close() override {}
        bool requiresLayout() const override { return false; }
        std::vector<std::string> lines()
        {
            const std::lock_guard<std::mutex> lock(m_linesMutex);
            return std::exchange(m_lines, {});
        }

    protected:
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override
        {
            const std::lock_guard<std::mutex> lock(m_linesMutex);
            m_lines.push_back(event->getLevel()->toString() + " " + event->getMessage());
        }

    private:
        std::mutex m_linesMutex;
        std::vector<std::string> m_lines;
    };

    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<Appender> m_appender;
};
