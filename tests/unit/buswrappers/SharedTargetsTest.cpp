// What bridges, routers and others in one partition know of each other's targets.
#include "buswrappers/DurableXptOutputPub.h"
#include "tests/unit/buswrappers/KeptOutputsFixture.h"

#include <gtest/gtest.h>

using namespace keptoutputs;

namespace
{

using SharedTargetsTest = KeptOutputsFixture;

} // namespace

TEST_F(SharedTargetsTest, AnotherBridgeGetsWhatThisOneHas)
{
    const auto sut = bridge();
    sut->history();
    sut->take(7, 5);
    sut->take(2500, 6);

    const auto other = otherBridge();

    EXPECT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));
    EXPECT_EQ(other->history(), (Targets{{7, 5}, {2500, 6}}));
}

TEST_F(SharedTargetsTest, JoinBringsWhatAnotherBridgeHasDecidedAndTheNewerOfBothCounts)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 1);
    }
    const auto other = otherBridge();
    ASSERT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));
    other->takeUnseen(7, 2);
    other->takeUnseen(8, 3);

    EXPECT_EQ(bridge()->history(), (Targets{{7, 2}, {8, 3}}));
}

TEST_F(SharedTargetsTest, WhatIsDecidedWhenSomebodyElsesDecisionIsKnownIsNewer)
{
    const auto other = otherBridge();
    ASSERT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));
    const SourceTime ahead = busNow() + 3'600'000'000; // a clock that is an hour ahead
    other->takeAt(7, 2, ahead);
    const auto sut = bridge();
    ASSERT_EQ(sut->history(), (Targets{{7, 2}}));

    EXPECT_EQ(sut->take(7, 3), ahead + 1);

    EXPECT_TRUE(testsupport::waitUntil([&] { return other->known() == Targets{{7, 3}}; }));
}

TEST_F(SharedTargetsTest, TargetThatSomebodyElsePublishedIsKept)
{
    const auto panel = router(m_wire, Durability::Persistent()); // another make: no bridge
    {
        const auto sut = bridge();
        sut->history();
        sut->take(7, 4);
        ASSERT_TRUE(panel->waitForReaders(1));

        panel->writer().write(output(7, 5));

        EXPECT_TRUE(waitUntilKept(7, 5));
        EXPECT_EQ(sut->m_kept.m_late, Targets{}) << "it is on the bus, and not this bridge's";
    }

    EXPECT_EQ(bridge()->history(), (Targets{{7, 5}}));
}

TEST_F(SharedTargetsTest, OutputThatNoRouterHasAndTimeMoreThanADayAheadAreRefusedAndWarnedOfOnce)
{
    testsupport::LogRecorder log;
    const auto panel = router(m_wire, Durability::Persistent());
    {
        const auto sut = bridge();
        sut->history();
        ASSERT_TRUE(panel->waitForReaders(1));
        panel->writer().write(output(greatest + 1, 5));
        panel->writer().write(output(7, 6), dds::core::Time((busNow() + 2 * 86'400'000'000) * 1000));
        panel->writer().write(output(8, 5));
        EXPECT_TRUE(testsupport::waitUntil([&] { return log.countHolding(" of others are refused") > 0; }));

        EXPECT_LT(std::chrono::microseconds(sut->take(9, 1) - busNow()), 1h);
        EXPECT_TRUE(waitUntilKept(8, 5));
        EXPECT_TRUE(waitUntilKept(9, 1));
        EXPECT_EQ(sut->history(), (Targets{{8, 5}, {9, 1}}));
    }

    EXPECT_EQ(stored().size(), 2U);
    EXPECT_EQ(log.countHolding(" of others are refused"), 1U);
}

TEST_F(SharedTargetsTest, StoredTimeThatMakesNoSenseIsHealedSoThatTakesAreNewer)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 4);
        first->take(8, 4);
    }
    auto rows = stored();
    ASSERT_EQ(rows.size(), 2U);
    rows[0].written = com::tallowcrest::durability::latestOnBus - 1;
    rows[1].written = INT64_MAX;
    Store(store()).commit(rows);
    {
        const auto sut = bridge();
        ASSERT_EQ(sut->history(), (Targets{{7, 4}, {8, 4}}));
        EXPECT_EQ(sut->m_kept.m_times[7], 0);
        EXPECT_LT(std::chrono::microseconds(sut->take(7, 5) - busNow()), 1h);
    }

    EXPECT_EQ(bridge()->history(), (Targets{{7, 5}, {8, 4}}));
}

TEST_F(SharedTargetsTest, RowsThatMakeNoSenseAreLeftOutAndWarnedOfAndTheOthersUsed)
{
    {
        const auto first = bridge();
        first->history();
        first->take(7, 5);
        first->take(8, 6);
        first->take(9, 7);
    }
    auto rows = stored();
    rows[0].payload = "{\"macroXptOutput\":7}";
    rows[1].payload = rows[2].payload; // names another instance
    Store(store()).commit(rows);
    testsupport::LogRecorder log;

    EXPECT_EQ(bridge()->history(), (Targets{{9, 7}}));

    EXPECT_EQ(
        log.takeTexts(),
        std::vector<std::string>{"WARN Durable topic TopicTarget in com:tallowcrest:routing:R1: 2 stored rows make no "
                                 "sense and are left out"});
}

TEST_F(SharedTargetsTest, LateReadersOfEitherDurabilityGetAllWithTheirTimesWithinASecond)
{
    const auto sut = bridge();
    sut->history();
    Targets all;
    std::map<std::uint32_t, SourceTime> written;
    for (std::uint32_t number = 1; number <= 200; ++number)
    {
        written[number] = sut->take(number, number + 1);
        all[number] = number + 1;
    }
    const auto settled = std::chrono::steady_clock::now();
    ASSERT_TRUE(testsupport::waitUntil([&] { return std::chrono::steady_clock::now() > settled + 100ms; }));

    for (const Durability& durability : {Durability::TransientLocal(), Durability::Persistent()})
    {
        // The machine's own time to find each other is not counted.
        testsupport::WireDomain* const wire = &m_wire;
        const auto late = router(*wire, durability);
        ASSERT_TRUE(late->waitForWriters(1));
        std::map<std::uint32_t, SourceTime> times;

        EXPECT_TRUE(waitForTargets(*late, all, times, 1s)) << static_cast<int>(durability.kind());

        EXPECT_EQ(times, written);
    }
}

TEST_F(SharedTargetsTest, LateReaderGetsWhatOnlyAnotherBridgeThatIsGoneHadDecided)
{
    const auto sut = bridge();
    sut->history();
    {
        const auto gone = otherBridge();
        ASSERT_TRUE(testsupport::waitUntil([&] { return gone->hasJoined(); }));
        gone->take(7, 5);
        ASSERT_TRUE(waitUntilKept(7, 5));
    }
    const auto late = router(m_wire, Durability::Persistent());

    EXPECT_TRUE(waitForTargets(*late, {{7, 5}}));
}

TEST_F(SharedTargetsTest, WhatIsLearntAfterTheJoinIsToldAndPublished)
{
    auto inUse = std::make_unique<Store>(store());
    inUse->commit({{{prefix + "R1", targetTopic},
                    "7",
                    durableCodec<MacroXptOutput>().typeName,
                    INT64_C(1'600'000'000'000'000),
                    com::tallowcrest::dds_::routing::jsonText(output(7, 5))}});
    const auto readers = router(m_wire, Durability::TransientLocal());
    const auto sut = bridge();
    ASSERT_EQ(sut->history(), Targets{}) << "the store is another's";
    sut->take(8, 6);

    inUse.reset();

    EXPECT_TRUE(sut->m_apartment->runUntil([&] { return sut->m_kept.m_late == Targets{{7, 5}}; }));
    EXPECT_TRUE(waitForTargets(*readers, {{7, 5}, {8, 6}}));
}

TEST_F(SharedTargetsTest, TablesOfTheirOwnAreNotToldOfWhatOthersDecide)
{
    const auto sut = bridge();
    sut->history();
    const auto other = otherBridge();
    ASSERT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));

    other->take(7, 5);

    ASSERT_TRUE(waitUntilKept(7, 5));
    sut->m_apartment->runAll();
    EXPECT_EQ(sut->m_kept.m_late, Targets{});
}

TEST_F(SharedTargetsTest, SharedTablesAreToldOfWhatOthersDecide)
{
    ::setenv("KORABRIDGE_SHARED_TARGETS", "1", 1);
    const auto sut = bridge();
    sut->history();
    sut->take(7, 4);
    const auto other = otherBridge();
    ASSERT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));

    other->take(7, 5);

    EXPECT_TRUE(sut->m_apartment->runUntil([&] { return sut->m_kept.m_late == Targets{{7, 5}}; }));
    EXPECT_GT(sut->take(7, 6), sut->m_kept.m_times.at(7));
}
