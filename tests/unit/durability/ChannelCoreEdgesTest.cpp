// What the core does at the edges: the first instance, the same moment, the same decision, nothing twice.

#include "tests/unit/durability/CoreFixture.h"

#include <chrono>
#include <cstdint>
#include <string>

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;

namespace
{

class ChannelCoreEdgesTest : public CoreFixture
{
protected:
    void meet(NeighbourId id)
    {
        m_sut->neighbourCame(id, m_now);
        hear(id);
    }
};

} // namespace

TEST_F(ChannelCoreEdgesTest, DigestIsTheSameInEveryVersionAndOnEveryMachine)
{
    HybridClock clock;
    ChannelCore sut({.greatest = greatest,
                     .self = self,
                     .rules = {.order = order, .digest = [](const std::string&) { return std::uint64_t{42}; }}},
                    clock);

    sut.seen(7, {t, "any"}, m_now);

    EXPECT_EQ(sut.rows(0).digest, 0x9f2c464f99a71114U) << "bridges of other versions compare it";
    EXPECT_EQ(sut.rows(1).digest, 0U);
}

TEST_F(ChannelCoreEdgesTest, FirstInstanceIsOneLikeTheOthers)
{
    join();
    decide(0, t);
    EXPECT_EQ(effects().store, Instances{0});
    m_sut->repeatDecided();
    EXPECT_EQ(effects().publish, Instances{0});
    m_sut->keepAgain();
    EXPECT_EQ(effects().store, Instances{0});
    pass(10s);
    m_sut->readerCame(m_now);
    EXPECT_EQ(look().publish, Instances{0});

    m_sut->join(++m_ticket, m_now);

    EXPECT_EQ(m_sut->history(), Instances{0});
}

TEST_F(ChannelCoreEdgesTest, WhatHasChangedTwiceIsListedOnce)
{
    makeCore(true);
    join();
    publish(1, t);
    effects();
    see(1, t + 1);
    see(1, t + 2);

    const auto listed = effects();

    EXPECT_EQ(listed.store, Instances{1});
    EXPECT_EQ(listed.remember, Instances{1});
    EXPECT_EQ(listed.adopt, Instances{1});
    EXPECT_EQ(listed.publish, Instances{1});
}

TEST_F(ChannelCoreEdgesTest, SameDecisionPublishedOnceMoreIsTheEndOfIt)
{
    join();
    publish(1, t);
    effects();

    publish(1, t);

    const auto nothing = effects();
    EXPECT_EQ(nothing.publish, Instances{});
    EXPECT_EQ(nothing.store, Instances{});
    EXPECT_EQ(nothing.remember, Instances{});
}

TEST_F(ChannelCoreEdgesTest, DecisionOfTheSameMomentAsAnOlderPublicationGoesOutOnceMore)
{
    join();
    publish(1, t);
    decide(1, t + 1);

    EXPECT_EQ(effects().publish, Instances{1});
}

TEST_F(ChannelCoreEdgesTest, PublicationWithTheOldestTimeThereIsCounts)
{
    join();
    publish(1, 0);
    decide(1, t);
    EXPECT_EQ(effects().publish, Instances{1});
    publish(2, 0);
    effects();

    see(2, t);

    EXPECT_EQ(effects().publish, Instances{2}) << "the older one may still arrive";
}

TEST_F(ChannelCoreEdgesTest, LateReaderWaitsForABridgeThatHasJustComeThoughItKnowsNothing)
{
    join();
    see(1, t);
    effects();
    pass(10s);
    meet(self + 1); // behind this one in the order
    m_sut->readerCame(m_now);

    EXPECT_EQ(look().publish, Instances{});
    EXPECT_EQ(look(ChannelCore::settlesAfterNewcomer).publish, Instances{1});
}

TEST_F(ChannelCoreEdgesTest, WhatWasPublishedSinceTheReaderCameIsNotRepeatedForIt)
{
    meet(3); // before this one in the order, so that this one waits
    join();
    see(1, t);
    see(2, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    m_sut->notPublished(1);
    ASSERT_EQ(look().publish, Instances{1});

    EXPECT_EQ(look(1s).publish, Instances{2});
}

TEST_F(ChannelCoreEdgesTest, WhenABridgeHasGoneWhatThisOnePublishedSinceTheReaderCameIsEnough)
{
    meet(3);
    join();
    see(1, t);
    decide(3, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    see(1, t); // by the neighbour
    see(3, t, "here");
    decide(2, t);
    effects();
    ASSERT_EQ(look(1s).publish, Instances{});

    m_sut->neighbourWent(3, m_now);
    EXPECT_EQ(look(1s).publish, (Instances{1, 3}));

    pass(10s);
    m_sut->readerCame(m_now);
    see(1, t); // by somebody who is still there
    EXPECT_EQ(look(1s).publish, (Instances{2, 3})) << "that counts again";
}

TEST_F(ChannelCoreEdgesTest, BridgeThatGoesWhenNothingCanArriveAnyMoreLeavesNothingToRepeat)
{
    meet(3);
    join();
    see(1, t);
    effects();
    pass(10s);
    m_sut->readerCame(m_now);
    see(1, t);
    ASSERT_EQ(look(1s).publish, Instances{});
    look(ChannelCore::overtakes - 1s);

    m_sut->neighbourWent(3, m_now);

    EXPECT_EQ(look(1s).publish, Instances{});
}

TEST_F(ChannelCoreEdgesTest, WhatIsWantedIsAskedForAgainOnlyAfterAWhile)
{
    join();
    m_sut->neighbourCame(3, m_now);
    look(1s);
    hear(3, {5, 0});
    ASSERT_TRUE(look(ChannelCore::differenceStands).isStatusNew);
    ASSERT_EQ(m_sut->status().wants.size(), 1U);

    EXPECT_FALSE(look(ChannelCore::tellsUrgently).isStatusNew);
    EXPECT_TRUE(look(ChannelCore::asksAgain).isStatusNew);
    EXPECT_FALSE(look(ChannelCore::tellsUrgently).isStatusNew);
}

TEST_F(ChannelCoreEdgesTest, NothingIsUrgentOnceAWantHasBeenAnswered)
{
    join();
    meet(3);
    hear(3, {0, 0}, {{.of = self, .bucket = 1}});
    EXPECT_TRUE(m_sut->isInHurry());

    EXPECT_EQ(look(1s).handOver, std::vector<Bucket>{1});

    EXPECT_FALSE(m_sut->isInHurry());
}
