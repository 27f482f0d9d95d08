#include "runtime/util/FailureLog.h"

#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using com::tallowcrest::util::Failure;
using com::tallowcrest::util::FailureLog;
using com::tallowcrest::util::LogLimit;
using std::chrono::seconds;
using Lines = std::vector<std::string>;

namespace
{
constexpr LogLimit::Clock::time_point begin{std::chrono::hours(5)};

TEST(LogLimit, whenWithinTheBurst_allows)
{
    LogLimit sut(2, std::chrono::minutes(1));

    EXPECT_TRUE(sut.allow(begin));
    EXPECT_TRUE(sut.allow(begin));
    EXPECT_FALSE(sut.allow(begin));
}

TEST(LogLimit, whenTheIntervalHasPassed_allowsAgainAndTellsHowManyWereHeldBack)
{
    LogLimit sut(1, std::chrono::minutes(1));
    sut.allow(begin);
    for (int second = 1; second < 60; ++second)
    {
        EXPECT_FALSE(sut.allow(begin + std::chrono::seconds(second)));
    }

    EXPECT_TRUE(sut.allow(begin + std::chrono::minutes(1)));
    EXPECT_EQ(59U, sut.takeHeldBack());
    EXPECT_EQ(0U, sut.takeHeldBack());
}

TEST(LogLimit, whenCleared_allowsAtOnceAndHasForgottenWhatWasHeldBack)
{
    LogLimit sut(1, std::chrono::minutes(1));
    sut.allow(begin);
    sut.allow(begin);

    sut.clear();

    EXPECT_TRUE(sut.allow(begin));
    EXPECT_EQ(0U, sut.takeHeldBack());
}

TEST(LogLimit, whenMadeForOneLine_allowsItOnceHoweverLate)
{
    LogLimit sut = LogLimit::once();

    EXPECT_TRUE(sut.allow(begin));
    EXPECT_FALSE(sut.allow(begin));
    EXPECT_FALSE(sut.allow(LogLimit::Clock::time_point::max()));
}

TEST(LogLimit, whenMadeForOneLine_allowsAnotherAfterItWasCleared)
{
    LogLimit sut = LogLimit::once();
    sut.allow(begin);

    sut.clear();

    EXPECT_TRUE(sut.allow(begin));
}

class FailureLogTest : public testing::Test
{
protected:
    testsupport::LogRecorder m_log;
    std::chrono::steady_clock::time_point m_now{};
    FailureLog m_sut{log4cxx::Logger::getLogger("KORABRIDGE"), [this] { return m_now; }};
};

} // namespace

TEST_F(FailureLogTest, FirstFailureIsLoggedAndRepeatsWithinAMinuteAreNot)
{
    m_sut.warn({"bind 98", "failed"});
    m_now += seconds(59);
    m_sut.warn({"bind 98", "failed"});

    EXPECT_EQ(m_log.texts(), Lines{"WARN failed"});
}

TEST_F(FailureLogTest, RepeatsAreLoggedOnceAMinuteWithTheirNumber)
{
    for (int second = 0; second <= 120; ++second)
    {
        m_sut.warn({"bind 98", "failed"});
        m_now += seconds(1);
    }

    EXPECT_EQ(m_log.texts(),
              (Lines{"WARN failed", "WARN repeated 60 times: failed", "WARN repeated 60 times: failed"}));
}

TEST_F(FailureLogTest, AnotherCauseIsLoggedAtOnceAfterTheRepeatsOfTheLastOne)
{
    m_sut.warn({"bind 98", "in use"});
    m_sut.warn({"bind 98", "in use"});
    m_sut.warn({"socket 24", "too many"});

    EXPECT_EQ(m_log.texts(), (Lines{"WARN in use", "WARN repeated 1 times: in use", "WARN too many"}));
}

TEST_F(FailureLogTest, AfterSuccessTheSameCauseIsLoggedAgain)
{
    m_sut.warn({"bind 98", "in use"});
    m_sut.succeeded();
    m_sut.succeeded();
    m_sut.warn({"bind 98", "in use"});

    EXPECT_EQ(m_log.texts(), (Lines{"WARN in use", "WARN in use"}));
}

TEST_F(FailureLogTest, SuccessLogsTheRepeatsThatNobodyHasSeen)
{
    m_sut.warn({"bind 98", "in use"});
    m_sut.warn({"bind 98", "in use"});
    m_sut.warn({"bind 98", "in use"});
    m_sut.succeeded();

    EXPECT_EQ(m_log.texts(), (Lines{"WARN in use", "WARN repeated 2 times: in use"}));
}

TEST_F(FailureLogTest, SameCauseWithAnotherTextIsARepeat)
{
    m_sut.warn({"bind 98", "socket 5"});
    m_sut.warn({"bind 98", "socket 6"});
    m_sut.succeeded();

    EXPECT_EQ(m_log.texts(), (Lines{"WARN socket 5", "WARN repeated 1 times: socket 6"}));
}

TEST_F(FailureLogTest, FirstFailureWithoutACauseIsLogged)
{
    m_sut.warn({"", "failed"});

    EXPECT_EQ(m_log.texts(), Lines{"WARN failed"});
}

TEST_F(FailureLogTest, LinesBearTheLocationOfWhoFailed)
{
    const auto fail = [] { return Failure("bind 98", "failed"); };
    const int line = __LINE__ - 1;

    m_sut.warn(fail());
    m_sut.warn(fail());
    m_sut.succeeded();

    const auto lines = m_log.lines();
    ASSERT_EQ(lines.size(), 2U);
    for (const auto& each : lines)
    {
        EXPECT_EQ(each.file, "FailureLogTest.cpp") << each.text;
        EXPECT_EQ(each.line, line) << each.text;
    }
}
