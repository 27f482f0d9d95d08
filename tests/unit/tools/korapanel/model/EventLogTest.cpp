#include "tools/korapanel/model/EventLog.h"

#include <gtest/gtest.h>

using namespace korapanel;

TEST(EventLog, GivenEventsHandsOutEachBehindTheOneBefore)
{
    EventLog sut(100);
    EXPECT_EQ(sut.append("state", "{}"), 101U);
    EXPECT_EQ(sut.append("press", "{1}"), 102U);

    EXPECT_EQ(*sut.after(100), "id: 101\nevent: state\ndata: {}\n\n");
    EXPECT_EQ(*sut.after(101), "id: 102\nevent: press\ndata: {1}\n\n");
    EXPECT_EQ(sut.after(102), nullptr);
    EXPECT_TRUE(sut.holdsAllAfter(100));
    EXPECT_TRUE(sut.holdsAllAfter(102));
    EXPECT_FALSE(sut.holdsAllAfter(99));
    EXPECT_FALSE(sut.holdsAllAfter(103)); // of another run
    EXPECT_EQ(sut.after(99), nullptr);
}

TEST(EventLog, GivenMoreEventsThanTheBoundForgetsTheOldest)
{
    EventLog sut(0);
    for (std::size_t i = 0; i <= EventLog::mostEvents; ++i)
    {
        (void)sut.append("press", "{}");
    }

    EXPECT_FALSE(sut.holdsAllAfter(0));
    EXPECT_TRUE(sut.holdsAllAfter(1));
}

TEST(EventLog, GivenMoreBytesThanTheBoundForgetsTheOldest)
{
    EventLog sut(0);
    const std::string large(EventLog::mostBytes / 2, 'x');
    (void)sut.append("press", large);
    (void)sut.append("press", large);

    EXPECT_FALSE(sut.holdsAllAfter(0));
    EXPECT_NE(sut.after(1), nullptr);
    (void)sut.append("press", large + large); // larger than all together: kept alone
    EXPECT_FALSE(sut.holdsAllAfter(1));
    EXPECT_NE(sut.after(2), nullptr);
}

TEST(ParseEventId, GivenNumberIsThatAndElseNothing)
{
    EXPECT_EQ(parseEventId("1795376041331"), 1795376041331U);
    for (const char* const text : {"", "x", "1x", "-1", " 1", "99999999999999999999"})
    {
        EXPECT_FALSE(parseEventId(text)) << text;
    }
}
