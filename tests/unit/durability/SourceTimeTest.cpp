#include "durability/SourceTime.h"

#include <dds/dds.h>
#include <features.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

using namespace com::tallowcrest::durability;

// What durations and times are counted in does not depend on the machine.
static_assert(sizeof(dds_time_t) == 8 && sizeof(std::chrono::system_clock::rep) == 8);
#if __GLIBC_PREREQ(2, 41)
// Since Debian 13 libraries for 32-bit machines have a 64-bit time_t as well; a compiler that has not does not fit
// them.
static_assert(sizeof(std::time_t) == 8);
#endif

TEST(SourceTimeTest, BusTimeIsRoundedToTheNearestMicrosecond)
{
    EXPECT_EQ(fromBusTime(1000), 1);
    EXPECT_EQ(fromBusTime(999), 1);
    EXPECT_EQ(fromBusTime(1001), 1);
    EXPECT_EQ(fromBusTime(toBusTime(1790000000123456)), 1790000000123456);
}

TEST(SourceTimeTest, TimeBefore1970CountsAs1970)
{
    EXPECT_EQ(fromBusTime(-1), 0);
    EXPECT_EQ(fromBusTime(INT64_MIN), 0);
    EXPECT_EQ(believed(-5), 0);
}

TEST(SourceTimeTest, TimeThatTheBusCannotCarryLeavesRoomForLaterOnes)
{
    EXPECT_EQ(believed(INT64_MAX), latestBelieved);
    EXPECT_EQ(fromBusTime(INT64_MAX), latestBelieved);
    EXPECT_EQ(believed(latestBelieved + 1), latestBelieved + 1);
    EXPECT_LT(latestBelieved, latestOnBus);
}

TEST(SourceTimeTest, WhatIsMoreThanADayAheadOfASaneClockIsNotBelieved)
{
    constexpr SourceTime now = earliestSane + 5;

    EXPECT_TRUE(isBelievable(0, now));
    EXPECT_TRUE(isBelievable(now, now));
    EXPECT_TRUE(isBelievable(now + farthestAhead, now));
    EXPECT_FALSE(isBelievable(now + farthestAhead + 1, now));
    EXPECT_EQ(farthestAhead, INT64_C(86'400'000'000));
}

TEST(SourceTimeTest, ClockThatWasNeverSetJudgesNobody)
{
    EXPECT_TRUE(isBelievable(earliestSane + farthestAhead + 1, earliestSane - 1));
    EXPECT_FALSE(isBelievable(earliestSane + farthestAhead + 1, earliestSane));
    EXPECT_TRUE(isBelievable(latestOnBus - 1, 0));
}

TEST(SourceTimeTest, TimeThatTheBusCannotCarryIsNotBelievedWhateverTheClockSays)
{
    for (const SourceTime now : {INT64_C(0), earliestSane, latestOnBus, INT64_MAX - farthestAhead})
    {
        EXPECT_FALSE(isBelievable(-1, now)) << now;
        EXPECT_FALSE(isBelievable(latestOnBus, now)) << now;
        EXPECT_FALSE(isBelievable(INT64_MAX, now)) << now;
    }
}

TEST(HybridClockTest, FollowsTheMachinesClock)
{
    HybridClock sut;

    EXPECT_EQ(sut.next(1000), 1000);
    EXPECT_EQ(sut.next(2000), 2000);
}

TEST(HybridClockTest, GivesEachTimeOnce)
{
    HybridClock sut;

    EXPECT_EQ(sut.next(1000), 1000);
    EXPECT_EQ(sut.next(1000), 1001);
}

TEST(HybridClockTest, WritesOnTheBusesLastDayAndAfterItKeepTheirOrderAndFitOnTheBus)
{
    HybridClock sut;
    SourceTime last = sut.next(latestBelieved - 1);

    // The last microsecond that the bus can carry, the one after it, and the begin of 2040.
    for (const SourceTime now : {latestOnBus - 1, latestOnBus, INT64_C(2208988800000000)})
    {
        const SourceTime time = sut.next(fromBusTime(toBusTime(now)));
        EXPECT_GT(time, last);
        EXPECT_EQ(believed(time), time);
        last = time;
    }
}

TEST(HybridClockTest, ClockThatWasSetBackDoesNotGoBack)
{
    HybridClock sut;
    sut.next(5000);

    EXPECT_EQ(sut.next(10), 5001);
}

TEST(HybridClockTest, WriteSortsAfterWhatWasSeenFromAClockThatIsAhead)
{
    HybridClock sut;

    sut.observe(9000);

    EXPECT_EQ(sut.next(1000), 9001);
}

TEST(HybridClockTest, OlderTimeThatIsSeenChangesNothing)
{
    HybridClock sut;
    sut.next(5000);

    sut.observe(100);

    EXPECT_EQ(sut.next(5000), 5001);
}

TEST(HybridClockTest, ANonsenseTimeDoesNotStopTheClock)
{
    HybridClock sut;

    sut.observe(believed(INT64_MAX));

    const SourceTime next = sut.next(1000);
    EXPECT_GT(next, believed(INT64_MAX));
    EXPECT_EQ(believed(next), next);
}
