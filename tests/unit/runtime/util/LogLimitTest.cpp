#include "runtime/util/LogLimit.h"

#include <gtest/gtest.h>

using com::tallowcrest::util::LogLimit;

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

} // namespace
