#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/location/locationinfo.h>
#include <log4cxx/spi/loggingevent.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Collects every line that any logger writes while it lives, of all levels. Thread-safe.
class CapturedLog
{
public:
    struct Line
    {
        std::string logger;
        std::string level;
        std::string text;
        std::string file;
        int line = 0;
    };

    CapturedLog() : m_appender(std::make_shared<Appender>())
    {
        log4cxx::BasicConfigurator::resetConfiguration();
        log4cxx::BasicConfigurator::configure(m_appender);
        log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getAll());
    }
    ~CapturedLog() { log4cxx::BasicConfigurator::resetConfiguration(); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<Line> lines() const { return m_appender->lines(); }

private:
    class Appender final : public log4cxx::AppenderSkeleton
    {
    public:
        void close() override {}
        bool requiresLayout() const override { return false; }

        std::vector<Line> lines() const
        {
            const std::lock_guard lock(m_mutex);
            return m_lines;
        }

    protected:
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override
        {
            const auto& location = event->getLocationInformation();
            const std::string path = location.getFileName();
            const std::lock_guard lock(m_mutex);
            m_lines.push_back({.logger = event->getLoggerName(),
                               .level = event->getLevel()->toString(),
                               .text = event->getMessage(),
                               .file = path.substr(path.rfind('/') + 1),
                               .line = location.getLineNumber()});
        }

    private:
        mutable std::mutex m_mutex;
        std::vector<Line> m_lines;
    };

    std::shared_ptr<Appender> m_appender;
};
