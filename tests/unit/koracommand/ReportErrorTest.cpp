#include "koracommand/ReportError.h"

#include <gtest/gtest.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <memory>
#include <stdexcept>

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

TEST(ReportErrorTest, LineThatCannotBeLoggedGoesToStandardError)
{
    const auto logger = log4cxx::Logger::getLogger("ReportErrorTest");
    const auto appender = std::make_shared<FullDisk>();
    logger->setAdditivity(false);
    logger->addAppender(appender);
    testing::internal::CaptureStderr();

    reportError(logger, "Command failed", "bus is gone");

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Command failed: bus is gone (not logged: no space)\n");
    logger->removeAppender(appender);
}

} // namespace
