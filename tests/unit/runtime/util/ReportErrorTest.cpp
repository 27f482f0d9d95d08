#include "runtime/util/ReportError.h"

#include <gtest/gtest.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "runtime/apartment/RunEvent.h"

namespace
{

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
    const log4cxx::LoggerPtr m_logger;
    const std::shared_ptr<FullDisk> m_appender = std::make_shared<FullDisk>();
};

TEST(ReportErrorTest, LineThatCannotBeLoggedGoesToStandardError)
{
    const BrokenLogger logger("ReportErrorTest");
    testing::internal::CaptureStderr();

    REPORT_ERROR_F(logger.get(), "Command failed: %s", "bus is gone");

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Command failed: bus is gone (not logged: no space)\n");
}

class ThrowingEvent final : public com::tallowcrest::apartment::DoItEvent
{
public:
    void doIt() override { throw std::runtime_error("no memory"); }
};

TEST(ReportErrorTest, EventThatThrowsWhileNothingCanBeLoggedEndsNothing)
{
    const BrokenLogger logger("KORABRIDGE");
    testing::internal::CaptureStderr();

    com::tallowcrest::apartment::runEvent(std::make_unique<ThrowingEvent>());

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Apartment event failed, no memory (not logged: no space)\n");
}

} // namespace
