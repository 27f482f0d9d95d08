// What other bridges tell the recorder of a channel, what it tells them, and a bus that refuses.

#include "tests/support/BusCalls.h"
#include "tests/unit/durability/ChannelRecorderFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

class ChannelRecorderBusTest : public ChannelRecorderFixture
{};

/// What a neighbour hears.
struct Heard
{
    std::size_t numStatuses = 0;
    Status status;
    std::vector<BucketRows> rows;
};

void listen(NeighbourPort& port, Heard& heard)
{
    port.take({.onNeighbour = [](NeighbourId, bool) {},
               .onStatus =
                   [&](NeighbourId, const Status& status) {
                       ++heard.numStatuses;
                       heard.status = status;
                   },
               .onRows = [&](const BucketRows& rows) { heard.rows.push_back(rows); }});
}

} // namespace

TEST_F(ChannelRecorderBusTest, WhatANeighbourHandsOverIsTakenButNotWhatIsNoSampleOfItsOutput)
{
    start();
    joined();
    m_others.add();
    ASSERT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    BucketRows rows{.bucket = 0, .digest = 1, .rows = {}};
    rows.rows.push_back({7, {++m_time, contentOf(7, 4)}});
    rows.rows.push_back({8, {++m_time, contentOf(9, 4)}});
    rows.rows.push_back({9, {++m_time, "{}"}});

    m_others.lastPort().handOver(rows);

    ASSERT_TRUE(lookUntil([this] { return !m_told.empty(); }));
    EXPECT_EQ(takeTold(), (std::vector<Told>{adopt({contentOf(7, 4)}), repeat({contentOf(7, 4)})}));
    EXPECT_FALSE(isRemembered(contentOf(9, 4)));
}

TEST_F(ChannelRecorderBusTest, NeighbourIsToldWhatIsKnownAndGetsWhatItWants)
{
    start();
    joined();
    take(7, 1);
    const dds::domain::DomainParticipant& other = m_others.add();
    NeighbourPort& port = m_others.lastPort();
    Heard heard;
    ASSERT_TRUE(lookUntil([&] {
        listen(port, heard);
        return heard.numStatuses > 0 && heard.status.met == std::vector<NeighbourId>{nameOf(other.key())};
    }));
    ASSERT_EQ(heard.status.digests.size(), 2U);
    EXPECT_NE(heard.status.digests[0], 0U);
    EXPECT_EQ(heard.rows.size(), 0U);

    port.tell({.digests = {0, 0},
               .met = {nameOf(m_participant.key())},
               .wants = {{.of = nameOf(m_participant.key()), .bucket = 0}}});

    ASSERT_TRUE(lookUntil([&] {
        listen(port, heard);
        return !heard.rows.empty();
    }));
    EXPECT_EQ(heard.rows[0].bucket, 0U);
    ASSERT_EQ(heard.rows[0].rows.size(), 1U);
    EXPECT_EQ(heard.rows[0].rows[0].decision.content, contentOf(7, 1));
    EXPECT_EQ(heard.rows[0].digest, heard.status.digests[0]);
}

TEST_F(ChannelRecorderBusTest, NeighbourThatGoesIsNoLongerCounted)
{
    start();
    joined();
    {
        CrowdOfNeighbours others(m_name);
        others.add();
        ASSERT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    }
    EXPECT_TRUE(lookUntil([this] { return m_sut->neighbours() == 0; }));
}

TEST_F(ChannelRecorderBusTest, NeighbourThatIsSilentIsSaidOnceAndTheJoinGoesOn)
{
    m_others.add();
    start();
    take(7, 1);
    join();

    EXPECT_EQ(history(), Contents{contentOf(7, 1)});

    EXPECT_EQ(m_log.count("WARN Durable topic TopicTarget in R1: 1 other bridges are silent and no longer waited for"),
              1U);
}

TEST_F(ChannelRecorderBusTest, BusThatRefusesToMeetOthersIsAskedAgainAfterAWhile)
{
    m_others.add();
    testsupport::BusCalls bus;
    bus.failReaders("TopicTarget_durable_rows", DDS_RETCODE_OUT_OF_RESOURCES);
    start();
    const auto since = Clock::now();
    look();
    take(7, 1);
    join();

    bus.failReaders("TopicTarget_durable_rows", DDS_RETCODE_OK);

    EXPECT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    EXPECT_GE(Clock::now(), since + ChannelRecorder::portRetry);
    EXPECT_TRUE(isRemembered(contentOf(7, 1)));
}

TEST_F(ChannelRecorderBusTest, BusThatGoesOnRefusingToMeetOthersIsSaidOnceAndStopsNothing)
{
    testsupport::BusCalls bus;
    bus.failReaders("TopicTarget_durable_rows", DDS_RETCODE_OUT_OF_RESOURCES);
    start();
    const auto since = Clock::now();
    look();
    EXPECT_EQ(m_log.countHolding("cannot meet other bridges"), 1U);
    take(7, 1);
    join();
    EXPECT_EQ(history(), Contents{contentOf(7, 1)});

    ASSERT_TRUE(lookUntil([&] { return Clock::now() >= since + 2 * ChannelRecorder::portRetry; }));

    EXPECT_EQ(m_log.countHolding("Durable topic TopicTarget in R1: cannot meet other bridges: "), 1U);
}

TEST_F(ChannelRecorderBusTest, StatusThatCannotBeSentIsSaidOnceAndStopsNothing)
{
    const std::string told = "WARN Durable topic TopicTarget in R1: cannot be handed to other bridges: ";
    testsupport::BusCalls bus;
    bus.failWrites("TopicTarget_durable", DDS_RETCODE_OUT_OF_RESOURCES);
    start();
    look();
    EXPECT_EQ(m_log.countHolding(told), 1U);
    joined();
    m_others.add();
    ASSERT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    take(7, 1);
    look();

    EXPECT_TRUE(isRemembered(contentOf(7, 1)));
    EXPECT_EQ(m_log.countHolding(told), 1U);
}

TEST_F(ChannelRecorderBusTest, StatusIsToldWhenItIsNewAndNotAtEachLook)
{
    const testsupport::BusCalls bus;
    start();
    joined();
    ASSERT_TRUE(lookUntil([this] { return !m_sut->isInHurry(); }));
    const std::vector<std::string> before = bus.calls();
    EXPECT_EQ(before, std::vector<std::string>{"write TopicTarget_durable"});

    look();
    look();

    EXPECT_EQ(bus.calls(), before);
    EXPECT_EQ(m_log.countHolding("silent"), 0U);
}

TEST_F(ChannelRecorderBusTest, WhatANeighbourHandsOverToAChannelThatIsLeftIsKeptAndNobodyIsTold)
{
    start();
    joined();
    m_others.add();
    ASSERT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    m_channel->leave();

    m_others.lastPort().handOver({.bucket = 0, .digest = 1, .rows = {{7, {++m_time, contentOf(7, 4)}}}});

    ASSERT_TRUE(lookUntil([this] { return isRemembered(contentOf(7, 4)); }));
    EXPECT_TRUE(lookUntil([this] { return !m_sut->isInHurry(); }));
    EXPECT_EQ(takeTold(), std::vector<Told>{});
}
