#include "bench/korabench/LatencyStats.h"

#include <gtest/gtest.h>

using korabench::LatencyStats;
using namespace std::chrono_literals;

namespace
{

/// 1, 2, ... `count` microseconds, the largest first.
LatencyStats countedUpTo(int count)
{
    LatencyStats stats;
    for (int i = count; i > 0; --i)
    {
        stats.add(std::chrono::microseconds(i));
    }
    return stats;
}

} // namespace

TEST(LatencyStats, GivenNothingAnswersZero)
{
    const LatencyStats sut;

    EXPECT_EQ(sut.count(), 0U);
    EXPECT_EQ(sut.percentile(0.5), 0ns);
    EXPECT_EQ(sut.max(), 0ns);
    EXPECT_EQ(sut.mean(), 0ns);
}

TEST(LatencyStats, GivenOneLatencyEveryShareIsIt)
{
    LatencyStats sut;

    sut.add(7us);

    EXPECT_EQ(sut.percentile(0.001), 7us);
    EXPECT_EQ(sut.percentile(0.5), 7us);
    EXPECT_EQ(sut.max(), 7us);
}

TEST(LatencyStats, GivenAnEvenCountTheMedianIsTheLowerOfTheTwoInTheMiddle)
{
    EXPECT_EQ(countedUpTo(10).percentile(0.5), 5us);
    EXPECT_EQ(countedUpTo(11).percentile(0.5), 6us);
}

TEST(LatencyStats, GivenThousandLatenciesSharesAreRanks)
{
    const LatencyStats sut = countedUpTo(1000);

    EXPECT_EQ(sut.percentile(0.5), 500us);
    EXPECT_EQ(sut.percentile(0.99), 990us);
    EXPECT_EQ(sut.percentile(0.999), 999us);
    EXPECT_EQ(sut.max(), 1000us);
    EXPECT_EQ(sut.mean(), 500500ns);
}

TEST(LatencyStats, GivenFewLatenciesAHighShareIsTheLargest)
{
    EXPECT_EQ(countedUpTo(99).percentile(0.99), 99us);
    EXPECT_EQ(countedUpTo(100).percentile(0.99), 99us);
    EXPECT_EQ(countedUpTo(101).percentile(0.99), 100us);
}

TEST(LatencyStats, GivenMoreLatenciesAfterAnAnswerCountsThemToo)
{
    LatencyStats sut = countedUpTo(3);
    ASSERT_EQ(sut.max(), 3us);

    sut.add(1us);
    sut.add(9us);

    EXPECT_EQ(sut.max(), 9us);
    EXPECT_EQ(sut.percentile(0.4), 1us);
}

TEST(LatencyStats, GivenTwoThreadsMergesTheirLatencies)
{
    LatencyStats sut = countedUpTo(10);
    LatencyStats other;
    other.add(100us);

    sut.merge(other);

    EXPECT_EQ(sut.count(), 11U);
    EXPECT_EQ(sut.max(), 100us);
    EXPECT_EQ(sut.percentile(0.5), 6us);
}

TEST(LatencyStats, GivenALatencyBeyondItsRangeCountsTheMost)
{
    LatencyStats sut;

    sut.add(5s);

    EXPECT_EQ(sut.max(), 4294967295ns);
}

TEST(LatencyStats, GivenRoomReservedHoldsNothingYet)
{
    LatencyStats sut;

    sut.reserve(100);

    EXPECT_EQ(sut.count(), 0U);
}
