#include "runtime/util/Log.h"

#include "runtime/apartment/DoItEvent.h"
#include "tests/support/BrokenLogger.h"
#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>
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

TEST(ReportErrorTest, LineThatCannotBeLoggedGoesToStandardError)
{
    const testsupport::BrokenLogger logger("ReportErrorTest");
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
    const testsupport::BrokenLogger logger("KORABRIDGE");
    testing::internal::CaptureStderr();

    ThrowingEvent event;
    com::tallowcrest::apartment::runEvent(event);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Apartment event failed, no memory (not logged: no space)\n");
}

} // namespace
