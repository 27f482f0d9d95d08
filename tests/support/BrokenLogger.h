#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace testsupport
{

/// A logger that cannot log for as long as this lives.
class BrokenLogger
{
public:
    explicit BrokenLogger(const std::string& name) : m_logger(log4cxx::Logger::getLogger(name))
    {
        m_logger->setAdditivity(false);
        m_logger->addAppender(m_appender);
    }
    ~BrokenLogger()
    {
        m_logger->removeAppender(m_appender);
        m_logger->setAdditivity(true);
    }
    BrokenLogger(const BrokenLogger&) = delete;
    BrokenLogger& operator=(const BrokenLogger&) = delete;

    const log4cxx::LoggerPtr& get() const { return m_logger; }

private:
    class FullDisk final : public log4cxx::AppenderSkeleton
    {
    public:
        void append(const log4cxx::spi::LoggingEventPtr& /*event*/, log4cxx::helpers::Pool& /*pool*/) override
        {
            throw std::runtime_error("no space");
        }
        void close() override {}
        bool requiresLayout() const override { return false; }
    };

    const log4cxx::LoggerPtr m_logger;
    const std::shared_ptr<FullDisk> m_appender = std::make_shared<FullDisk>();
};

} // namespace testsupport
