#include "runtime/util/Log.h"

#include "runtime/apartment/DoItEvent.h"
#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace
{

int countCalls(int& calls)
{
    return ++calls;
}

TEST(LogTest, theLineIsFormattedAndLoggedWithLevelAndTheCallersLocation)
{
    const testsupport::LogRecorder log;
    const auto logger = log4cxx::Logger::getLogger("some logger");

    LOG_WARN_F(logger, "client %d of %s", 7, "sixteen");
    const int line = __LINE__ - 1;

    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "client 7 of sixteen");
    EXPECT_EQ(lines[0].logger, "some logger");
    EXPECT_EQ(lines[0].level, "WARN");
    EXPECT_EQ(lines[0].file, "LogTest.cpp");
    EXPECT_EQ(lines[0].line, line);
}

TEST(LogTest, eachMacroHasItsLevel)
{
    const testsupport::LogRecorder log;
    const auto logger = log4cxx::Logger::getLogger("some logger");
    const auto here = com::tallowcrest::util::SourceLocation::current();

    LOG_INFO_F(logger, "a");
    LOG_WARN_F(logger, "b");
    LOG_ERROR_F(logger, "c");
    LOG_INFO_AT_F(logger, here, "d");
    LOG_WARN_AT_F(logger, here, "e");

    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0].level, "INFO");
    EXPECT_EQ(lines[1].level, "WARN");
    EXPECT_EQ(lines[2].level, "ERROR");
    EXPECT_EQ(lines[3].level, "INFO");
    EXPECT_EQ(lines[4].level, "WARN");
}

TEST(LogTest, aLineOfTwoHundredBytesIsCutByOne)
{
    const testsupport::LogRecorder log;
    const auto logger = log4cxx::Logger::getLogger("some logger");
    const std::string longest(199, 'x');

    LOG_INFO_F(logger, "%s", longest.c_str());
    LOG_INFO_F(logger, "%sy", longest.c_str());

    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].text, longest);
    EXPECT_EQ(lines[1].text, longest);
}

TEST(LogTest, nothingIsFormattedWhileTheLevelIsOff)
{
    const testsupport::LogRecorder log;
    const auto logger = log4cxx::Logger::getLogger("some logger");
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getError());
    int calls = 0;

    LOG_WARN_F(logger, "%d", countCalls(calls));
    EXPECT_EQ(calls, 0);
    LOG_ERROR_F(logger, "%d", countCalls(calls));
    EXPECT_EQ(calls, 1);

    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(LogTest, aNullLoggerLogsNothing)
{
    const testsupport::LogRecorder log;
    const log4cxx::LoggerPtr logger;
    int calls = 0;

    LOG_ERROR_F(logger, "%d", countCalls(calls));

    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST(LogTest, aLineOfAHelperBearsTheLocationThatItWasGiven)
{
    const testsupport::LogRecorder log;
    const auto logger = log4cxx::Logger::getLogger("some logger");
    const auto where = com::tallowcrest::util::SourceLocation::current();
    const int line = __LINE__ - 1;

    LOG_WARN_AT_F(logger, where, "client %d of %s", 7, "sixteen");

    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "client 7 of sixteen");
    EXPECT_EQ(lines[0].level, "WARN");
    EXPECT_EQ(lines[0].file, "LogTest.cpp");
    EXPECT_EQ(lines[0].line, line);
}

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
