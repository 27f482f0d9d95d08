#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>

#include <memory>

namespace fuzz
{

/// Has every log line of the bridge formatted, and drops it.
class QuietLog
{
public:
    QuietLog()
    {
        // Else log4cxx looks for a configuration file whenever a logger is asked for.
        log4cxx::LogManager::getLoggerRepository()->setConfigured(true);
        const auto logger = log4cxx::Logger::getLogger("KORABRIDGE");
        logger->setLevel(log4cxx::Level::getInfo());
        logger->setAdditivity(false);
        logger->addAppender(std::make_shared<Appender>());
    }

private:
    class Appender final : public log4cxx::AppenderSkeleton
    {
    public:
        void close() override {}
        bool requiresLayout() const override { return false; }

    protected:
        void append(const log4cxx::spi::LoggingEventPtr&, log4cxx::helpers::Pool&) override {}
    };
};

} // namespace fuzz
