// Which decision counts, and what becomes of it.
#include "durability/ChannelCore.h"

#include "tests/unit/durability/CoreFixture.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;

namespace
{

using ChannelCoreTest = CoreFixture;

} // namespace

TEST_F(ChannelCoreTest, TheNewerOfTwoDecisionsCountsInWhateverOrderTheyCome)
{
    see(7, t + 1, "newer");
    see(7, t, "older");
    load(8, t, "older");
    hearRows(8, t + 1, "newer");

    EXPECT_EQ(known(7), "newer");
    EXPECT_EQ(known(8), "newer");
    EXPECT_EQ(m_sut->size(), 2U);
}

TEST_F(ChannelCoreTest, OfTwoDecisionsOfOneTimeTheSameCountsEverywhere)
{
    see(7, t, "a");
    see(7, t, "b");
    see(8, t, "b");
    see(8, t, "a");

    EXPECT_EQ(known(7), "b");
    EXPECT_EQ(known(8), "b");
}

TEST_F(ChannelCoreTest, SameDecisionOnceMoreChangesNothing)
{
    join();
    see(7, t);
    effects();

    see(7, t);
    hearRows(7, t, "topic");
    load(7, t, "topic");

    const auto after = effects();
    EXPECT_EQ(after.store, Instances{});
    EXPECT_EQ(after.remember, Instances{});
    EXPECT_EQ(after.publish, Instances{});
    EXPECT_EQ(after.adopt, Instances{});
}

TEST_F(ChannelCoreTest, InstancesThatDoNotExistAreRefused)
{
    for (const Instance instance : {greatest + 1, UINT32_MAX})
    {
        see(instance, t);
        decide(instance, t);
        load(instance, t);
    }
    see(greatest, t);

    EXPECT_EQ(m_sut->takeRefused(), 6U);
    EXPECT_EQ(m_sut->takeRefused(), 0U);
    EXPECT_EQ(m_sut->size(), 1U);
    EXPECT_EQ(known(greatest + 1), "nothing");
}

TEST_F(ChannelCoreTest, TimeMoreThanADayAheadIsRefusedAndMovesNoClock)
{
    see(7, m_now.wall + farthestAhead + 1);
    hearRows(7, latestOnBus - 1);
    see(7, -1);

    EXPECT_EQ(m_sut->takeRefused(), 3U);
    EXPECT_EQ(known(7), "nothing");
    EXPECT_EQ(m_clock->next(m_now.wall), m_now.wall);
}

TEST_F(ChannelCoreTest, TimeAheadOfTheClockWithinADayIsBelievedAndWhatIsDecidedNextIsNewer)
{
    see(7, m_now.wall + farthestAhead);

    EXPECT_EQ(known(7), "topic");
    EXPECT_GT(m_clock->next(m_now.wall), m_now.wall + farthestAhead);
}

TEST_F(ChannelCoreTest, OwnDecisionIsBelievedWhateverHasBecomeOfTheClock)
{
    m_now.wall = wallAtStart - 10 * farthestAhead;

    decide(7, t);

    EXPECT_EQ(known(7), "here");
    EXPECT_EQ(m_sut->takeRefused(), 0U);
}

TEST_F(ChannelCoreTest, StoredTimeThatMakesNoSenseCountsAsTheOldest)
{
    load(7, latestOnBus - 1, "nonsense");
    load(8, -5, "nonsense", Kept::Memory);
    ASSERT_EQ(known(7), "nonsense") << "better than nothing";
    EXPECT_EQ(m_sut->known(7)->written, 0);
    EXPECT_EQ(m_sut->known(8)->written, 0);

    see(7, 1);
    see(8, 1);

    EXPECT_EQ(known(7), "topic");
    EXPECT_EQ(known(8), "topic");
    EXPECT_EQ(m_sut->takeRefused(), 0U);
    EXPECT_EQ(m_clock->next(1), 2);
}

TEST_F(ChannelCoreTest, WhatIsLearntIsKeptWhereItIsNotYet)
{
    load(1, t, "kept", Kept::Store);
    load(2, t, "kept", Kept::Memory);
    see(3, t);
    hearRows(4, t);
    decide(5, t);
    publish(6, t);

    const auto first = effects();
    EXPECT_EQ(first.store, (Instances{2, 3, 4, 5, 6}));
    EXPECT_EQ(first.remember, (Instances{3, 4, 5, 6}));
    EXPECT_EQ(effects().store, Instances{}) << "once";
}

TEST_F(ChannelCoreTest, StoredRowThatIsNewerThanWhatTheStoreMayHaveBeenGivenMeanwhileIsStoredAgain)
{
    see(7, t);
    effects();

    load(7, t + 1);

    EXPECT_EQ(effects().store, Instances{7});
}

TEST_F(ChannelCoreTest, EverythingIsKeptAgainWhenAStoreIsLost)
{
    load(1, t);
    see(90, t);
    effects();

    m_sut->keepAgain();

    const auto again = effects();
    EXPECT_EQ(again.store, (Instances{1, 90}));
    EXPECT_EQ(again.remember, (Instances{1, 90}));
}

TEST_F(ChannelCoreTest, BeforeTheJoinIsCompleteNothingIsPublishedForTheJoinBringsIt)
{
    load(1, t);
    m_sut->join(1, m_now);
    see(2, t);
    hearRows(3, t);

    const auto before = effects();

    EXPECT_EQ(before.publish, Instances{});
    EXPECT_EQ(before.adopt, Instances{});
    EXPECT_EQ(m_sut->history(), (Instances{1, 2, 3}));
}

TEST_F(ChannelCoreTest, HistoryLeavesOutWhatWasDecidedSinceTheJoinAndTheNextOneBringsIt)
{
    m_sut->join(1, m_now);
    load(1, t);
    load(2, t);
    decide(2, t + 1);
    EXPECT_EQ(m_sut->history(), Instances{1});

    m_sut->join(2, m_now);

    EXPECT_EQ(m_sut->history(), (Instances{1, 2}));
}

TEST_F(ChannelCoreTest, WhatIsLearntLateGoesOntoTheBusAndIntoTheTable)
{
    join();
    load(1, t);
    hearRows(2, t);
    publish(3, t);
    hearRows(3, t + 1);

    const auto late = effects();

    EXPECT_EQ(late.publish, (Instances{1, 2, 3}));
    EXPECT_EQ(late.adopt, (Instances{1, 2, 3}));
}

TEST_F(ChannelCoreTest, LateKnowledgeNewerThanAnOwnDecisionIsPublishedAndTheTableKeepsTheDecision)
{
    join();
    decide(7, t);
    effects();

    hearRows(7, t + 1);

    const auto late = effects();
    EXPECT_EQ(late.publish, Instances{7});
    EXPECT_EQ(late.adopt, Instances{});
}

TEST_F(ChannelCoreTest, LateKnowledgeOlderThanAnOwnDecisionIsNothing)
{
    join();
    decide(7, t);
    effects();

    load(7, t - 1);
    hearRows(7, t - 1);

    const auto late = effects();
    EXPECT_EQ(late.publish, Instances{});
    EXPECT_EQ(late.adopt, Instances{});
    EXPECT_EQ(known(7), "here");
}

TEST_F(ChannelCoreTest, DecisionOfAnotherBridgeIsOnTheBusAndNotForTheTable)
{
    join();
    see(7, t);

    const auto seen = effects();

    EXPECT_EQ(seen.publish, Instances{});
    EXPECT_EQ(seen.adopt, Instances{});
}

TEST_F(ChannelCoreTest, SharedTablesFollowTheDecisionsOfOthers)
{
    makeCore(true);
    join();
    decide(7, t);
    effects();

    see(7, t + 1);
    EXPECT_EQ(effects().adopt, Instances{7});
    see(7, t - 1);
    EXPECT_EQ(effects().adopt, Instances{});
    hearRows(7, t + 2);
    EXPECT_EQ(effects().adopt, Instances{7});
}

TEST_F(ChannelCoreTest, SharedTableThatIsStillBeingJoinedIsToldOfWhatBeatsItsOwnDecision)
{
    makeCore(true);
    m_sut->join(1, m_now);
    decide(7, t);
    effects();

    see(7, t + 1);
    see(8, t + 1);

    EXPECT_EQ(effects().adopt, Instances{7}) << "the other one comes with the join";
}

TEST_F(ChannelCoreTest, OlderRepetitionBehindANewerPublicationIsFollowedByTheNewerOnceMore)
{
    join();
    decide(7, t + 1, "newer");
    effects();

    publish(7, t, "older");

    EXPECT_EQ(effects().publish, Instances{7});
    EXPECT_EQ(known(7), "newer");
}

TEST_F(ChannelCoreTest, HistoryOlderThanWhatHasBecomeKnownIsFollowedByWhatIsKnown)
{
    join();
    see(7, t + 1, "newer");
    effects();

    publish(7, t, "older");

    EXPECT_EQ(effects().publish, Instances{7});
}

TEST_F(ChannelCoreTest, DecisionThatMayHaveGoneOutBeforeAnOlderPublicationGoesOutOnceMore)
{
    join();
    const Time before = m_now.steady;
    pass(5ms);
    load(7, t, "older");
    ASSERT_EQ(effects().publish, Instances{7});

    m_sut->decided(7, {t + 1, "newer"}, before, m_now);

    EXPECT_EQ(effects().publish, Instances{7});
}

TEST_F(ChannelCoreTest, DecisionBehindAnOlderPublicationGoesOutOnce)
{
    join();
    load(7, t, "older");
    ASSERT_EQ(effects().publish, Instances{7});
    pass(5ms);

    decide(7, t + 1, "newer");

    EXPECT_EQ(effects().publish, Instances{});
}

TEST_F(ChannelCoreTest, NewerDecisionOfAnotherIsRepeatedWhileAnOlderOneOfOursMayStillArriveBehindIt)
{
    join();
    publish(7, t);
    publish(8, t);
    effects();

    pass(ChannelCore::overtakes - 1us);
    see(7, t + 1);
    pass(1us);
    see(8, t + 1);

    EXPECT_EQ(effects().publish, Instances{7});
}

TEST_F(ChannelCoreTest, WhatTheBusRefusedIsPublishedAgain)
{
    join();
    load(7, t);
    ASSERT_EQ(effects().publish, Instances{7});

    m_sut->notPublished(7);

    EXPECT_EQ(effects().publish, Instances{7});
    EXPECT_EQ(effects().publish, Instances{});
}

TEST_F(ChannelCoreTest, WhatWasDecidedSinceTheJoinIsRepeatedForReadersThatMayHaveMissedIt)
{
    decide(1, t);
    m_sut->join(1, m_now);
    publish(2, t);
    decide(3, t);
    effects();

    m_sut->repeatDecided();

    EXPECT_EQ(effects().publish, Instances{3});
}

TEST_F(ChannelCoreTest, DigestsSayTheSameOfTheSameDecisionsAndAreApartOtherwise)
{
    EXPECT_EQ(m_sut->status().digests, (std::vector<std::uint64_t>{0, 0}));
    see(1, t, "a");
    see(2, t, "b");
    const auto first = m_sut->status().digests;
    EXPECT_NE(first[0], 0U);
    EXPECT_EQ(first[1], 0U);
    const auto digestsOf = [this](const std::vector<std::pair<Instance, Decision>>& decisions) {
        makeCore(false);
        for (const auto& [instance, decision] : decisions)
        {
            m_sut->seen(instance, decision, m_now);
        }
        return m_sut->status().digests;
    };

    EXPECT_EQ(digestsOf({{2, {t, "b"}}, {1, {t - 1, "older"}}, {1, {t, "a"}}}), first);
    EXPECT_NE(digestsOf({{2, {t, "a"}}, {1, {t, "b"}}}), first) << "contents are exchanged";
    EXPECT_NE(digestsOf({{1, {t, "a"}}, {2, {t + 1, "b"}}}), first) << "another time";
    EXPECT_NE(digestsOf({{1, {t, "a"}}, {3, {t, "b"}}}), first) << "another instance";
    EXPECT_NE(digestsOf({{1, {t, "a"}}, {2, {t, "c"}}}), first) << "another content";
}

TEST_F(ChannelCoreTest, RowsOfABucketAreAllThatIsKnownOfItsInstances)
{
    see(0, t, "a");
    see(63, t + 1, "b");
    see(64, t, "c");

    const BucketRows rows = m_sut->rows(0);

    ASSERT_EQ(rows.rows.size(), 2U);
    EXPECT_EQ(rows.rows[0].instance, 0U);
    EXPECT_EQ(rows.rows[1].instance, 63U);
    EXPECT_EQ(rows.rows[1].decision.written, t + 1);
    EXPECT_EQ(rows.rows[1].decision.content, "b");
    EXPECT_EQ(rows.digest, m_sut->status().digests[0]);
    EXPECT_EQ(m_sut->rows(1).rows.size(), 1U);
}
