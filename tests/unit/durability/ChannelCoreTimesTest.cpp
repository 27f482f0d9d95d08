// What a channel's neighbours, readers and the time bring about.
#include "durability/ChannelCore.h"
#include "tests/unit/durability/CoreFixture.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;

namespace
{

class ChannelCoreTimesTest : public CoreFixture
{
protected:
    void beginJoin(bool isStoreTried = true)
    {
        m_sut->join(++m_ticket, m_now);
        if (isStoreTried)
        {
            m_sut->storeTried();
        }
    }
    void meet(NeighbourId id) { m_sut->neighbourCame(id, m_now); }
    /// A neighbour that is known and knows nothing.
    void haveNeighbour(NeighbourId id)
    {
        meet(id);
        hear(id);
        look(1s);
    }
    std::vector<std::pair<NeighbourId, Bucket>> wants() const
    {
        std::vector<std::pair<NeighbourId, Bucket>> all;
        for (const Status::Want& want : m_sut->status().wants)
        {
            all.emplace_back(want.of, want.bucket);
        }
        return all;
    }
    using Wants = std::vector<std::pair<NeighbourId, Bucket>>;
    using Buckets = std::vector<Bucket>;
};

} // namespace

// The join.

TEST_F(ChannelCoreTimesTest, JoinWaitsUntilTheOwnParticipantIsOldEnoughToBeKnown)
{
    beginJoin();

    EXPECT_FALSE(look(ChannelCore::settlesAfterStart - 1us).completed);
    EXPECT_TRUE(m_sut->isInHurry());
    const auto completed = look(1us).completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->ticket, 1U);
    EXPECT_EQ(completed->silent, 0U);
    EXPECT_FALSE(look(1s).completed) << "once";
    EXPECT_FALSE(m_sut->isInHurry());
}

TEST_F(ChannelCoreTimesTest, LaterJoinWhereNobodyNewIsSeenIsCompleteAtOnce)
{
    join();

    beginJoin();

    const auto completed = look().completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->ticket, 2U);
}

TEST_F(ChannelCoreTimesTest, JoinWaitsAWhileAfterANewcomerHoweverOldTheOwnParticipantIs)
{
    join();
    m_sut->participantCame(m_now.steady);
    beginJoin();

    EXPECT_FALSE(look(ChannelCore::settlesAfterNewcomer - 1us).completed);
    EXPECT_TRUE(look(1us).completed);
}

TEST_F(ChannelCoreTimesTest, NewcomersDelayNobodyLongerThanTheLongestSettling)
{
    join();
    beginJoin();
    const Time begin = m_now.steady;

    while (m_now.steady < begin + ChannelCore::longestSettling - 10ms)
    {
        m_sut->participantCame(m_now.steady);
        ASSERT_FALSE(look(10ms).completed);
    }
    m_sut->participantCame(m_now.steady);

    EXPECT_TRUE(look(10ms).completed);
}

TEST_F(ChannelCoreTimesTest, JoinWaitsForTheStoreButNotForEver)
{
    beginJoin(false);

    EXPECT_FALSE(look(ChannelCore::storeAnswers - 1us).completed);
    EXPECT_TRUE(look(1us).completed);
}

TEST_F(ChannelCoreTimesTest, JoinIsCompleteWhenTheStoreHasBeenTried)
{
    beginJoin(false);
    ASSERT_FALSE(look(5s).completed);

    m_sut->storeTried();

    EXPECT_TRUE(look().completed);
}

TEST_F(ChannelCoreTimesTest, JoinWaitsForANeighbourUntilItHasSaidThatItKnowsNothing)
{
    beginJoin();
    pass(ChannelCore::settlesAfterStart);
    meet(3);
    ASSERT_FALSE(look(ChannelCore::settlesAfterNewcomer).completed);

    hear(3);

    const auto completed = look().completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 0U);
}

TEST_F(ChannelCoreTimesTest, SilentNeighbourIsWaitedForOneSecondOnceItHasSettled)
{
    meet(3);
    beginJoin();
    ASSERT_FALSE(look(ChannelCore::settlesAfterStart).completed);

    EXPECT_FALSE(look(ChannelCore::neighboursAnswer - 1us).completed);
    const auto completed = look(1us).completed;

    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 1U);
}

TEST_F(ChannelCoreTimesTest, NeighboursThatComeAndPromiseOnAndOnDelayAJoinByOneSecondInAll)
{
    meet(3);
    beginJoin();
    ASSERT_FALSE(look(ChannelCore::settlesAfterStart).completed);
    const Time begin = m_now.steady;
    for (std::uint64_t i = 1; m_now.steady < begin + ChannelCore::neighboursAnswer - 50ms; ++i)
    {
        meet(100 + i);
        hear(100 + i, {i, i});
        hear(3, {i + 1000, 0});
        hearRows(7, t + static_cast<SourceTime>(i));
        ASSERT_FALSE(look(50ms).completed);
    }

    const auto completed = look(50ms).completed;

    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 20U);
}

TEST_F(ChannelCoreTimesTest, NeighbourThatGoesIsWaitedForNoLonger)
{
    meet(3);
    beginJoin();
    ASSERT_FALSE(look(ChannelCore::settlesAfterStart).completed);

    m_sut->neighbourWent(3, m_now);

    EXPECT_TRUE(look().completed);
}

TEST_F(ChannelCoreTimesTest, JoinAsksForWhatANeighbourHasMoreAndIsCompleteWithIt)
{
    meet(3);
    beginJoin();
    look(ChannelCore::settlesAfterStart);
    hear(3, {0, 77});
    const auto asking = look(ChannelCore::tellsUrgently);
    ASSERT_FALSE(asking.completed);
    ASSERT_TRUE(asking.isStatusNew);
    ASSERT_EQ(wants(), (Wants{{3, 1}}));

    m_sut->heard({.bucket = 1, .digest = 77, .rows = {{65, {t, "theirs"}}}}, m_now);

    const auto completed = look().completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 0U);
    EXPECT_EQ(known(65), "theirs");
    EXPECT_EQ(wants(), Wants{});
}

TEST_F(ChannelCoreTimesTest, WhatIsKnownHereAlreadyIsNotAskedFor)
{
    load(7, t, "same");
    meet(3);
    beginJoin();
    look(ChannelCore::settlesAfterStart);

    hear(3, m_sut->status().digests);

    EXPECT_TRUE(look().completed);
    EXPECT_EQ(wants(), Wants{});
}

TEST_F(ChannelCoreTimesTest, WhoDoesNotAnswerIsFollowedByAnother)
{
    for (const NeighbourId id : {NeighbourId{3}, NeighbourId{4}})
    {
        meet(id);
    }
    beginJoin();
    look(ChannelCore::settlesAfterStart);
    hear(3, {77, 0});
    hear(4, {77, 0});
    look(ChannelCore::tellsUrgently);
    ASSERT_EQ(wants(), (Wants{{3, 0}}));

    look(ChannelCore::asksAgain - 1us);
    EXPECT_EQ(wants(), (Wants{{3, 0}}));
    const auto again = look(1us);

    EXPECT_TRUE(again.isStatusNew);
    EXPECT_EQ(wants(), (Wants{{4, 0}}));
}

TEST_F(ChannelCoreTimesTest, LoneHolderIsAskedAgain)
{
    meet(3);
    beginJoin();
    look(ChannelCore::settlesAfterStart);
    hear(3, {77, 0});
    ASSERT_TRUE(look(ChannelCore::tellsUrgently).isStatusNew);

    EXPECT_FALSE(look(ChannelCore::asksAgain - 1us).isStatusNew);
    EXPECT_TRUE(look(1us).isStatusNew);
}

// A join that is announced.

TEST_F(ChannelCoreTimesTest, JoinThatWasAnnouncedHasWaitedSinceThen)
{
    meet(3);
    m_sut->storeTried();
    m_sut->expectJoin(m_now);
    EXPECT_TRUE(m_sut->isInHurry());
    look(ChannelCore::settlesAfterStart);
    look(ChannelCore::neighboursAnswer - 1us);

    beginJoin();

    EXPECT_FALSE(look().completed);
    const auto completed = look(1us).completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 1U);
}

TEST_F(ChannelCoreTimesTest, JoinThatWasAnnouncedIsCompleteAtOnceWhenAllHasBeenSaid)
{
    meet(3);
    m_sut->storeTried();
    m_sut->expectJoin(m_now);
    hear(3);
    look(ChannelCore::settlesAfterStart);

    beginJoin();

    const auto completed = look().completed;
    ASSERT_TRUE(completed);
    EXPECT_EQ(completed->silent, 0U);
}

TEST_F(ChannelCoreTimesTest, WhatAJoinThatIsAnnouncedLacksIsAskedForAtOnce)
{
    join();
    haveNeighbour(3);
    hear(3, {0, 77});

    m_sut->expectJoin(m_now);

    EXPECT_TRUE(look(ChannelCore::tellsUrgently).isStatusNew);
    EXPECT_EQ(wants(), (Wants{{3, 1}}));
}

TEST_F(ChannelCoreTimesTest, NeighboursTimeBeginsWhenTheStoreHasBeenTriedAnnouncedOrNot)
{
    meet(3);
    m_sut->expectJoin(m_now);
    look(5s);
    look(5s);
    m_sut->storeTried();
    look();

    beginJoin();

    EXPECT_FALSE(look(ChannelCore::neighboursAnswer - 1us).completed);
    EXPECT_TRUE(look(1us).completed);
}

TEST_F(ChannelCoreTimesTest, AnnouncementThatNoJoinFollowsIsForgotten)
{
    meet(3);
    m_sut->storeTried();
    m_sut->expectJoin(m_now);
    look();
    EXPECT_TRUE(m_sut->isInHurry());

    look(ChannelCore::expected);

    EXPECT_FALSE(m_sut->isInHurry());
    beginJoin();
    look();
    EXPECT_FALSE(look(ChannelCore::neighboursAnswer - 1us).completed) << "it waits anew";
    EXPECT_TRUE(look(1us).completed);
}

// Neighbours outside of joins.

TEST_F(ChannelCoreTimesTest, DifferenceIsAskedForOnceItHasStood)
{
    join();
    haveNeighbour(3);
    hear(3, {77, 0});

    look(ChannelCore::differenceStands - 1us);
    EXPECT_EQ(wants(), Wants{});
    const auto asking = look(1us);

    EXPECT_EQ(wants(), (Wants{{3, 0}}));
    EXPECT_TRUE(asking.isStatusNew);
}

TEST_F(ChannelCoreTimesTest, DifferenceIsNotAskedForWhereThisSideIsStillLearning)
{
    join();
    haveNeighbour(3);
    hear(3, {77, 77});
    pass(ChannelCore::differenceStands - 1ms);
    see(7, t);

    look(1ms);
    EXPECT_EQ(wants(), (Wants{{3, 1}})) << "the other bucket has not changed";
    look(ChannelCore::differenceStands - 1ms);

    EXPECT_EQ(wants(), (Wants{{3, 0}, {3, 1}}));
}

TEST_F(ChannelCoreTimesTest, WhatANeighbourWantsIsHandedOver)
{
    join();
    haveNeighbour(3);

    hear(3, {0, 0}, {{self, 1}, {4, 0}, {self, 2}, {self, UINT32_MAX}});

    EXPECT_TRUE(m_sut->isInHurry());
    EXPECT_EQ(look().handOver, Buckets{1}) << "not what is wanted of others or does not exist";
    EXPECT_EQ(look(1s).handOver, Buckets{});
}

TEST_F(ChannelCoreTimesTest, ManyThatWantTheSameAreAnsweredTogether)
{
    join();
    for (NeighbourId id = 1; id <= 10; ++id)
    {
        haveNeighbour(id);
    }
    hear(1, {0, 0}, {{self, 0}});
    ASSERT_EQ(look().handOver, Buckets{0});

    for (NeighbourId id = 2; id <= 10; ++id)
    {
        pass(1ms);
        hear(id, {0, 0}, {{self, 0}});
    }

    EXPECT_EQ(look(ChannelCore::answersAgain - 10ms).handOver, Buckets{});
    EXPECT_EQ(look(1ms).handOver, Buckets{0});
    EXPECT_EQ(look(1s).handOver, Buckets{});
}

TEST_F(ChannelCoreTimesTest, NewNeighbourIsToldAtOnceThatItHasBeenMet)
{
    join();
    meet(3);

    EXPECT_TRUE(m_sut->isInHurry());
    EXPECT_TRUE(look().isStatusNew);
    EXPECT_EQ(m_sut->status().met, std::vector<NeighbourId>{3});
    meet(3);
    EXPECT_FALSE(look(100ms).isStatusNew) << "known already";
}

TEST_F(ChannelCoreTimesTest, OwnParticipantIsNoNeighbour)
{
    join();
    meet(self);

    EXPECT_EQ(m_sut->status().met, std::vector<NeighbourId>{});
}

TEST_F(ChannelCoreTimesTest, UrgentNewsIsToldAtMostEveryTwentyMilliseconds)
{
    join();
    meet(3);
    ASSERT_TRUE(look().isStatusNew);
    meet(4);

    EXPECT_FALSE(look(ChannelCore::tellsUrgently - 1us).isStatusNew);
    EXPECT_TRUE(look(1us).isStatusNew);
}

TEST_F(ChannelCoreTimesTest, WhatTakesChangeIsToldOnceASecond)
{
    join();
    haveNeighbour(3);
    decide(7, t);
    ASSERT_TRUE(look(1s).isStatusNew);
    decide(7, t + 1);

    EXPECT_FALSE(look(ChannelCore::tellsAgain - 1us).isStatusNew);
    EXPECT_TRUE(look(1us).isStatusNew);
    EXPECT_FALSE(look(1h).isStatusNew) << "nothing has changed";
}

TEST_F(ChannelCoreTimesTest, StatusOfAStrangerAndRowsOfNoBucketAreRefused)
{
    hear(99);
    m_sut->heard({.bucket = 2, .digest = 1, .rows = {{130, {t, "x"}}}}, m_now);

    EXPECT_EQ(m_sut->takeRefused(), 2U);
    EXPECT_EQ(m_sut->size(), 0U);
}

// Readers that come late.

TEST_F(ChannelCoreTimesTest, LateReaderGetsEverythingThatIsKnownFromTheFirstOfTheBridges)
{
    meet(self + 1);
    join();
    load(1, t);
    see(2, t);
    decide(3, t);
    effects();
    hear(self + 1);
    pass(10s);

    m_sut->readerCame(m_now);

    EXPECT_TRUE(m_sut->isInHurry());
    EXPECT_EQ(look().publish, (Instances{1, 2, 3}));
    EXPECT_EQ(look(10s).publish, Instances{}) << "once";
}

TEST_F(ChannelCoreTimesTest, OtherBridgesStandBackByTheirRankAndPublishWhatTheFirstHasNot)
{
    meet(3);
    meet(4);
    join();
    see(1, t);
    see(2, t);
    effects();
    hear(3);
    hear(4);
    pass(10s);
    m_sut->readerCame(m_now);
    see(1, t); // the first bridge's repetition

    EXPECT_EQ(look(2 * ChannelCore::repeatsAfterEach - 1us).publish, Instances{});
    EXPECT_EQ(look(1us).publish, Instances{2});
}

TEST_F(ChannelCoreTimesTest, NobodyStandsBackLongerThanALateReaderIsPromised)
{
    for (NeighbourId id = 1; id < self; ++id)
    {
        meet(id);
    }
    join();
    see(1, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);

    EXPECT_EQ(look(static_cast<int>(ChannelCore::lastRank) * ChannelCore::repeatsAfterEach).publish, Instances{1});
    EXPECT_LT(static_cast<int>(ChannelCore::lastRank) * ChannelCore::repeatsAfterEach, 1s);
}

TEST_F(ChannelCoreTimesTest, BridgeThatComesWithALateReaderIsHeardFirstButNotForLong)
{
    join();
    see(1, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    meet(self + 1); // behind the same cable

    EXPECT_EQ(look(ChannelCore::settlesAfterNewcomer).publish, Instances{});
    hear(self + 1);
    EXPECT_EQ(look().publish, Instances{1});

    pass(10s);
    meet(self + 2);
    m_sut->readerCame(m_now);
    EXPECT_EQ(look(ChannelCore::newsAnswers - 1us).publish, Instances{});
    EXPECT_EQ(look(1us).publish, Instances{1});
}

TEST_F(ChannelCoreTimesTest, ManyReadersOneAfterTheOtherAreServedTogether)
{
    join();
    see(1, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    ASSERT_EQ(look().publish, Instances{1});
    pass(1ms);

    m_sut->readerCame(m_now);
    m_sut->readerCame(m_now);

    EXPECT_EQ(look(ChannelCore::repeatsAfterEach - 2ms).publish, Instances{});
    EXPECT_EQ(look(1ms).publish, Instances{1});
}

TEST_F(ChannelCoreTimesTest, ReaderThatComesDuringAJoinIsServedAfterIt)
{
    load(1, t);
    beginJoin(false);
    m_sut->readerCame(m_now);
    ASSERT_EQ(look(5s).publish, Instances{});

    m_sut->storeTried();
    ASSERT_TRUE(look().completed);

    EXPECT_EQ(look(ChannelCore::repeatsAfterEach).publish, Instances{1});
}

TEST_F(ChannelCoreTimesTest, WhatTheJoinPublishesForALateReaderIsNotPublishedTwice)
{
    load(1, t);
    load(2, t);
    beginJoin(false);
    m_sut->readerCame(m_now);
    m_sut->storeTried();
    const auto completed = look(5s);
    ASSERT_TRUE(completed.completed);
    EXPECT_EQ(completed.publish, Instances{});
    publish(1, t, "kept");

    EXPECT_EQ(look(ChannelCore::repeatsAfterEach).publish, Instances{2}) << "what the bridge has published is enough";
}

TEST_F(ChannelCoreTimesTest, RepetitionOfABridgeThatThenGoesDoesNotCount)
{
    meet(3);
    join();
    see(1, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    see(1, t); // by the neighbour, to whom the reader may have been unknown
    ASSERT_EQ(look(1s).publish, Instances{});

    m_sut->neighbourWent(3, m_now);

    EXPECT_EQ(look(1s).publish, Instances{1});
}

TEST_F(ChannelCoreTimesTest, BridgeThatGoesLongAfterTheLastReaderCameLeavesNothingToRepeat)
{
    meet(3);
    join();
    see(1, t);
    effects();
    m_sut->readerCame(m_now);
    look(1s);
    pass(ChannelCore::overtakes);

    m_sut->neighbourWent(3, m_now);

    EXPECT_EQ(look(1s).publish, Instances{});
}
