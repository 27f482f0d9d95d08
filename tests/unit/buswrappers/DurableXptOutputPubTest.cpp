// One bridge and what it keeps, over its joins and lives.
#include "buswrappers/DurableXptOutputPub.h"

#include "tests/unit/buswrappers/KeptOutputsFixture.h"

#include <gtest/gtest.h>

using namespace keptoutputs;

namespace
{

using DurableXptOutputPubTest = KeptOutputsFixture;

} // namespace

TEST_F(DurableXptOutputPubTest, NobodyAndNothingGivesAnEmptyHistory)
{
    const auto sut = bridge();

    EXPECT_EQ(sut->history(), Targets{});
    EXPECT_EQ(sut->m_kept.m_calls, 1);
}

TEST_F(DurableXptOutputPubTest, NextLifeGetsWhatWasDecidedLastWithItsTime)
{
    SourceTime written = 0;
    {
        const auto first = bridge();
        first->history();
        first->take(7, 4);
        written = first->take(7, 5);
        first->take(8, 6);
    }
    const auto sut = bridge();

    EXPECT_EQ(sut->history(), (Targets{{7, 5}, {8, 6}}));
    EXPECT_EQ(sut->m_kept.m_times[7], written);
}

TEST_F(DurableXptOutputPubTest, DecisionsOfABridgeThatHasNoStoreYetOutliveASuddenEndOfIt)
{
    testsupport::writeFile(m_directory.path() / "place", "in the way of a directory");
    const std::filesystem::path nowhere = m_directory.path() / "place" / "a.db";
    Bridge sut(nowhere);
    sut.history();

    sut.take(7, 5);

    EXPECT_TRUE(waitUntilKept(7, 5, nowhere));
    sut.join();
    EXPECT_TRUE(sut.waitForHistory());
    EXPECT_EQ(sut.m_kept.m_history, (Targets{{7, 5}}));
}

TEST_F(DurableXptOutputPubTest, PartitionsAreApart)
{
    const auto sut = bridge();
    sut->history();
    sut->take(7, 5);

    sut->join("R2");
    ASSERT_TRUE(sut->waitForHistory());
    EXPECT_EQ(sut->m_kept.m_history, Targets{});
    sut->take(7, 6);

    sut->join("R1");
    ASSERT_TRUE(sut->waitForHistory());
    EXPECT_EQ(sut->m_kept.m_history, (Targets{{7, 5}}));
}

TEST_F(DurableXptOutputPubTest, BarePartitionKeepsNothing)
{
    {
        const auto sut = bridge();
        EXPECT_EQ(sut->take(7, 5), 0) << "before the first join";
        sut->join("");
        EXPECT_EQ(sut->take(7, 5), 0);
        sut->m_sut->repeat(output(8, 5), 1);
        EXPECT_EQ(sut->m_sut->routerPartition(), "");
    }

    EXPECT_EQ(stored(), std::vector<StoredRow>{});
}

TEST_F(DurableXptOutputPubTest, TimesOfDecisionsGrowAndAreThoseOnTheBus)
{
    const auto readers = router(m_wire, Durability::TransientLocal());
    const auto sut = bridge();
    sut->history();
    ASSERT_TRUE(readers->waitForWriters(1));
    std::map<std::uint32_t, SourceTime> expected;
    SourceTime last = 0;
    Targets targets;
    for (std::uint32_t number = 1; number <= 100; ++number)
    {
        const SourceTime written = sut->take(number, 5);
        EXPECT_GT(written, last);
        last = expected[number] = written;
        targets[number] = 5;
    }

    std::map<std::uint32_t, SourceTime> times;
    EXPECT_TRUE(waitForTargets(*readers, targets, times, 10s));
    EXPECT_EQ(times, expected);
    EXPECT_LT(std::chrono::microseconds(std::abs(busNow() - last)), 1min);
}

TEST_F(DurableXptOutputPubTest, RepetitionKeepsItsTimeOnTheBusAndInTheStore)
{
    constexpr SourceTime then = INT64_C(1'600'000'000'000'000);
    {
        const auto readers = router(m_wire, Durability::TransientLocal());
        const auto sut = bridge();
        sut->history();
        ASSERT_TRUE(readers->waitForWriters(1));

        sut->m_sut->repeat(output(7, 5), then);

        std::map<std::uint32_t, SourceTime> times;
        EXPECT_TRUE(waitForTargets(*readers, {{7, 5}}, times, 10s));
        EXPECT_EQ(times[7], then);
    }
    const auto rows = stored();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].written, then);
}

TEST_F(DurableXptOutputPubTest, PublishingHistoryAgainLeavesTheStoreAsItWas)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 5);
    }
    const auto before = stored();
    {
        const auto sut = bridge();
        sut->history();
        sut->m_sut->repeat(output(7, 5, 99), sut->m_kept.m_times.at(7)); // takes effect at another time
    }

    EXPECT_EQ(stored(), before);
}

TEST_F(DurableXptOutputPubTest, TakeDuringAJoinIsNotOvertakenByTheHistoryThatTheJoinBrings)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 4);
        first->take(8, 4);
    }
    const auto readers = router(m_wire, Durability::TransientLocal());
    {
        const auto sut = bridge();
        sut->join();
        sut->take(7, 5);
        ASSERT_TRUE(sut->waitForHistory());

        EXPECT_EQ(sut->m_kept.m_history, (Targets{{8, 4}}));
        EXPECT_TRUE(waitForTargets(*readers, {{7, 5}}));
    }

    EXPECT_EQ(bridge()->history(), (Targets{{7, 5}, {8, 4}}));
}

TEST_F(DurableXptOutputPubTest, OlderRouteThatIsRepeatedAfterATakeIsFollowedByTheTakeOnceMore)
{
    const auto readers = router(m_wire, Durability::TransientLocal());
    const auto sut = bridge();
    sut->history();
    ASSERT_TRUE(readers->waitForWriters(1));
    const SourceTime older = sut->take(7, 4);
    sut->take(7, 5);
    ASSERT_TRUE(waitForTargets(*readers, {{7, 5}}));

    sut->m_sut->repeat(output(7, 4), older);

    std::vector<std::uint32_t> inputs;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        runApartment();
        for (const auto& sample : readers->reader().take())
        {
            inputs.push_back(sample.data().macroXptInput);
        }
        return !inputs.empty() && inputs.back() == 5;
    })) << "the older one is the last on the bus";
}

TEST_F(DurableXptOutputPubTest, WhatAnEarlierJoinBringsIsDropped)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 5);
    }
    const auto sut = bridge();
    sut->join();
    ASSERT_TRUE(testsupport::waitUntil([&] { return sut->m_apartment->pending() > 0; })) << "it waits in the queue";

    sut->join("R2");
    ASSERT_TRUE(sut->waitForHistory());

    EXPECT_EQ(sut->m_kept.m_history, Targets{});
    EXPECT_EQ(sut->m_kept.m_calls, 1);
}

TEST_F(DurableXptOutputPubTest, WhatIsStillQueuedWhenThePublisherGoesReachesNobody)
{
    const auto sut = bridge();
    sut->join();
    ASSERT_TRUE(testsupport::waitUntil([&] { return sut->m_apartment->pending() > 0; }));

    sut->m_sut.reset();
    sut->m_apartment->runAll();

    EXPECT_EQ(sut->m_kept.m_calls, 0);
}
