#include "durability/ChannelRecorder.h"

#include "tests/unit/durability/ChannelRecorderFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace com::tallowcrest::durability;

namespace
{

class ChannelRecorderTest : public ChannelRecorderFixture
{};

/// How many values were made into decisions.
std::size_t numDecisionsMade = 0;

const TypeCodec& countingCodec()
{
    static const TypeCodec codec = [] {
        TypeCodec result = outputCodec();
        result.contentOf = [](const void* value) {
            ++numDecisionsMade;
            return outputCodec().contentOf(value);
        };
        return result;
    }();
    return codec;
}

} // namespace

TEST_F(ChannelRecorderTest, OfManyDecisionsAboutAnOutputInOneLookTheLastAloneIsTold)
{
    start(false, countingCodec());
    joined();
    numDecisionsMade = 0;
    take(7, 1);
    take(8, 1);
    take(7, 2);
    take(7, 3);

    EXPECT_TRUE(look());

    EXPECT_EQ(numDecisionsMade, 2U);
    EXPECT_EQ(m_sut->handedOver(), 4U);
    EXPECT_EQ(takeTold(), std::vector<Told>{}) << "nothing is to be published once more";
    EXPECT_TRUE(isRemembered(contentOf(7, 3)));
    EXPECT_TRUE(isRemembered(contentOf(8, 1)));
    EXPECT_FALSE(isRemembered(contentOf(7, 2)));
}

TEST_F(ChannelRecorderTest, EachLookHasALastDecisionOfItsOwn)
{
    start();
    joined();
    take(8, 1);
    take(7, 1);
    look();
    take(7, 2);
    take(8, 2);
    take(9, 1);

    look();

    EXPECT_TRUE(isRemembered(contentOf(7, 2)));
    EXPECT_TRUE(isRemembered(contentOf(8, 2)));
    EXPECT_TRUE(isRemembered(contentOf(9, 1)));
}

TEST_F(ChannelRecorderTest, HistoryPublishedBehindADecisionHidesItNotAndTheDecisionIsRepeated)
{
    start();
    joined();
    handOver(7, 5, m_time + 10, false);
    handOver(7, 1, m_time + 1, true);

    look();

    EXPECT_TRUE(isRemembered(contentOf(7, 5)));
    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(7, 5)})});
}

TEST_F(ChannelRecorderTest, DecisionBeforeTheJoinComesBackWithItAndOneAfterItDoesNot)
{
    start();
    take(7, 1);
    join();
    take(8, 2);

    ASSERT_TRUE(lookUntil([this] { return !m_told.empty() && m_told.back().purpose == Purpose::History; }));
    // Readers may have missed what was decided before they had answered.
    EXPECT_EQ(takeTold(), (std::vector<Told>{repeat({contentOf(8, 2)}), {Purpose::History, {contentOf(7, 1)}, true}}));
}

TEST_F(ChannelRecorderTest, HistoryThatTheBridgePublishesDoesNotCountAsDecidedByIt)
{
    start();
    joined();
    handOver(7, 1, ++m_time, true);
    look();

    const auto topic = join();
    handOver(8, 1, ++m_time, true);

    EXPECT_EQ(history(), (Contents{contentOf(7, 1), contentOf(8, 1)}));
}

TEST_F(ChannelRecorderTest, OutputThatNoRouterHasIsRefusedAndSaidOnce)
{
    start();
    joined();
    take(greatest, 1);
    take(greatest + 1, 1);
    look();
    take(greatest + 1, 2);
    take(greatest + 1, 3);
    look();

    EXPECT_TRUE(isRemembered(contentOf(greatest, 1)));
    EXPECT_FALSE(isRemembered(contentOf(greatest + 1, 3)));
    EXPECT_EQ(m_log.countHolding("targets of others are refused"), 1U);
    EXPECT_EQ(m_log.count("WARN Durable topic TopicTarget in R1: 1 targets of others are refused"), 1U);
}

TEST_F(ChannelRecorderTest, WhatSomebodyElsePublishesIsKeptAndNotPublishedAgain)
{
    start();
    const auto topic = joined();
    publishElsewhere(*topic, 7, 4);

    EXPECT_TRUE(look());

    EXPECT_TRUE(isRemembered(contentOf(7, 4)));
    EXPECT_EQ(takeTold(), std::vector<Told>{});
    join();
    EXPECT_EQ(history(), Contents{contentOf(7, 4)});
}

TEST_F(ChannelRecorderTest, SharedTableFollowsWhatSomebodyElsePublishes)
{
    start(true);
    const auto topic = joined();
    take(7, 3);
    look();
    publishElsewhere(*topic, 7, 4);
    publishElsewhere(*topic, 8, 4);

    look();

    // The bridge's own older decision may arrive behind the newer one.
    EXPECT_EQ(takeTold(), (std::vector<Told>{adopt({contentOf(7, 4), contentOf(8, 4)}), repeat({contentOf(7, 4)})}));
}

TEST_F(ChannelRecorderTest, OwnDecisionIsToldBeforeWhatOthersPublished)
{
    start(true);
    const auto topic = joined();
    publishElsewhere(*topic, 7, 9);
    take(7, 3);

    look();

    EXPECT_TRUE(isRemembered(contentOf(7, 3)));
    EXPECT_EQ(takeTold(), std::vector<Told>{}) << "the newer one is this bridge's own";
}

TEST_F(ChannelRecorderTest, WhatLayInTheEarlierReaderIsTakenAtTheNextJoinAndAtTheEnd)
{
    start();
    const auto first = joined();
    publishElsewhere(*first, 7, 4);
    const auto second = join();
    EXPECT_EQ(history(), Contents{contentOf(7, 4)});

    publishElsewhere(*second, 8, 4);
    m_channel->leave();
    look();
    EXPECT_TRUE(isRemembered(contentOf(8, 4)));
}

TEST_F(ChannelRecorderTest, ChannelThatIsLeftTellsNobodyAnythingAndLetsGoOfItsTopic)
{
    start();
    std::weak_ptr<ToldTopic> topic;
    {
        const auto held = joined();
        topic = held;
    }
    m_others.add();
    ASSERT_TRUE(lookUntil([this] { return m_sut->neighbours() == 1; }));
    EXPECT_FALSE(m_sut->isLeft());
    m_channel->leave();
    m_channel->refused(7); // as the last of it ends

    take(7, 1);
    look();

    EXPECT_TRUE(m_sut->isLeft());
    EXPECT_TRUE(topic.expired());
    EXPECT_EQ(m_sut->neighbours(), 0U);
    EXPECT_EQ(takeTold(), std::vector<Told>{});
    EXPECT_TRUE(isRemembered(contentOf(7, 1))) << "it was written all the same";
}

TEST_F(ChannelRecorderTest, HistoryThatNobodyTookIsNoBusinessOfAChannelThatIsLeft)
{
    start();
    join();
    ASSERT_TRUE(testsupport::waitUntil([this] {
        m_isDeliveryRefused = true;
        return lookAndCatch();
    }));
    EXPECT_TRUE(m_sut->isInHurry());

    m_channel->leave();

    EXPECT_TRUE(lookUntil([this] { return !m_sut->isInHurry(); }));
    EXPECT_EQ(takeTold(), std::vector<Told>{});
}

TEST_F(ChannelRecorderTest, JoinWaitsAfterANewcomerAndSinceItWasAnnounced)
{
    start();
    m_newcomerIn = std::chrono::hours(1); // as long as a join waits for newcomers at all
    m_channel->expectJoin();
    look(); // from now on it counts as announced
    const auto announced = Clock::now();
    ASSERT_TRUE(lookUntil(
        [&] { return m_keeper->hasTried(m_name) && Clock::now() >= announced + ChannelCore::longestSettling; }));
    look();
    join();
    look();
    EXPECT_EQ(takeTold(), (std::vector<Told>{{Purpose::History, {}, true}})) << "it has waited before";

    const auto begin = Clock::now();
    join();
    history();
    EXPECT_GE(Clock::now(), begin + ChannelCore::longestSettling);
}

TEST_F(ChannelRecorderTest, WhatIsDueBeforeAnybodyJoinsComesWithTheHistoryAlone)
{
    start();
    take(7, 1);
    take(8, 1);
    look();
    m_channel->refused(7);
    EXPECT_TRUE(lookUntil([this] { return !m_sut->isInHurry(); })) << "nobody is there whom to tell";

    const auto topic = join();

    EXPECT_EQ(history(), (Contents{contentOf(7, 1), contentOf(8, 1)}));
    EXPECT_EQ(topic->numHistoryEnds, 1);
}

TEST_F(ChannelRecorderTest, JoinThatIsOvertakenByAnotherIsNotAnswered)
{
    m_others.add(); // is silent, so that each join takes a while
    start();
    take(7, 1);
    int numRefused = 0;
    const auto first = std::make_shared<ToldTopic>();
    m_channel->join(first, [&](const Channel::Delivery& delivery) {
        numRefused += delivery.purpose == Purpose::History ? 1 : 0;
        throw std::runtime_error("no room");
    });
    ASSERT_TRUE(testsupport::waitUntil([&] {
        lookAndCatch();
        return numRefused > 0 && m_sut->neighbours() == 1;
    }));
    const int before = numRefused;

    join();

    ASSERT_TRUE(lookUntil([this] { return !m_told.empty() && !m_sut->isInHurry(); }));
    EXPECT_EQ(takeTold(), (std::vector<Told>{{Purpose::History, {contentOf(7, 1)}, true}}));
    EXPECT_EQ(numRefused, before);
    EXPECT_EQ(first->numHistoryEnds, 0);
}

TEST_F(ChannelRecorderTest, HistoryWaitsForReadersThatHaveNotAnsweredButNotForLong)
{
    start();
    take(7, 1);
    const auto topic = std::make_shared<ToldTopic>();
    topic->hasAnswer = false;
    join(topic);
    const auto begin = Clock::now();

    ASSERT_TRUE(lookUntil([this] { return !m_told.empty(); }));

    EXPECT_GE(Clock::now() - begin, ChannelRecorder::readersAnswer);
    EXPECT_EQ(takeTold(), (std::vector<Told>{{Purpose::History, {contentOf(7, 1)}, false}}));
    EXPECT_EQ(topic->numHistoryEnds, 1);

    topic->hasAnswer = true;
    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(7, 1)})}) << "they may have missed it";
}

TEST_F(ChannelRecorderTest, ReadersThatAnswerDuringTheJoinGetWhatWasDecidedMeanwhile)
{
    start();
    take(8, 1);
    const auto topic = std::make_shared<ToldTopic>();
    topic->hasAnswer = false;
    join(topic);
    take(7, 1);
    look();
    takeTold(); // the history, on a machine that was busy

    topic->hasAnswer = true;

    ASSERT_TRUE(lookUntil([this] { return !m_told.empty(); }));
    EXPECT_EQ(m_told[0].purpose, Purpose::Repeat);
    EXPECT_EQ(std::count(m_told[0].contents.begin(), m_told[0].contents.end(), contentOf(7, 1)), 1);
}

TEST_F(ChannelRecorderTest, ReaderThatIsNewGetsAllThatIsKnownWithinTheSameLook)
{
    start();
    const auto topic = joined();
    take(7, 1);
    publishElsewhere(*topic, 8, 2);
    look();

    topic->isReaderNew = true;
    look();

    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(7, 1), contentOf(8, 2)})});
    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{}) << "once";
}

TEST_F(ChannelRecorderTest, ReaderThatWasAwayForLongCountsAsNewAndOneThatWasNotDoesNot)
{
    start();
    const auto topic = joined();
    take(7, 1);
    look();
    topic->hasAnswer = false;
    auto since = Clock::now();
    look();
    topic->hasAnswer = true;
    look();
    if (Clock::now() < since + ChannelRecorder::readersAreAway) // the machine may have stood still
    {
        EXPECT_EQ(takeTold(), std::vector<Told>{});
    }
    takeTold();

    topic->hasAnswer = false;
    since = Clock::now();
    ASSERT_TRUE(lookUntil([&] { return Clock::now() >= since + ChannelRecorder::readersAreAway; }));
    EXPECT_EQ(takeTold(), std::vector<Told>{});
    topic->hasAnswer = true;

    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(7, 1)})});
}

TEST_F(ChannelRecorderTest, WhatTheBusRefusedIsToBePublishedAgain)
{
    start();
    joined();
    take(7, 1);
    take(8, 1);
    look();

    m_channel->refused(8);
    look();

    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(8, 1)})});
}

TEST_F(ChannelRecorderTest, DeliveryThatFailsIsMadeAgainAtTheNextLook)
{
    start(true);
    take(7, 1);
    const auto topic = join();
    m_isDeliveryRefused = true;
    ASSERT_TRUE(testsupport::waitUntil([this] { return lookAndCatch(); }));
    EXPECT_EQ(topic->numHistoryEnds, 0);
    EXPECT_TRUE(m_sut->isInHurry());
    EXPECT_EQ(history(), Contents{contentOf(7, 1)});

    publishElsewhere(*topic, 8, 4);
    m_isDeliveryRefused = true;
    EXPECT_THROW(look(), std::runtime_error);
    EXPECT_TRUE(m_sut->isInHurry());
    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{adopt({contentOf(8, 4)})});

    m_channel->refused(7);
    m_isDeliveryRefused = true;
    EXPECT_THROW(look(), std::runtime_error);
    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{repeat({contentOf(7, 1)})});
    look();
    EXPECT_EQ(takeTold(), std::vector<Told>{}) << "each once";
}

TEST_F(ChannelRecorderTest, WhatTheBridgeCouldNotBeToldComesWithTheHistoryWhenItJoinsAnew)
{
    start(true);
    const auto topic = joined();
    take(7, 1);
    look();
    m_channel->refused(7);
    publishElsewhere(*topic, 8, 4);
    m_isDeliveryRefused = true;
    EXPECT_THROW(look(), std::runtime_error);

    join();

    EXPECT_EQ(history(), (Contents{contentOf(7, 1), contentOf(8, 4)}));
}

TEST_F(ChannelRecorderTest, StoredRowsThatMakeNoSenseAreLeftOutAndCountedAndTheOthersAreUsed)
{
    const StoredRow good{m_name, "7", outputCodec().typeName, 1'600'000'000'000'000, contentOf(7, 1)};
    const auto with = [&](auto change) {
        StoredRow row = good;
        change(row);
        return row;
    };
    {
        StoreKeeper before(m_store, [] {});
        before.put(good);
        before.put(with([](StoredRow& row) {
            row.instance = "8x";
            row.payload = contentOf(8, 1);
        }));
        before.put(with([](StoredRow& row) {
            row.instance = "";
            row.payload = contentOf(0, 1);
        }));
        before.put(with([](StoredRow& row) { row.instance = "9"; })); // not the one of its content
        before.put(with([](StoredRow& row) {
            row.instance = "10";
            row.payload = contentOf(10, 1);
            row.type = "Other";
        }));
        ASSERT_TRUE(before.finish());
    }
    start();

    join();

    EXPECT_EQ(history(), Contents{contentOf(7, 1)});
    EXPECT_EQ(m_log.count("WARN Durable topic TopicTarget in R1: 4 stored rows make no sense and are left out"), 1U);
    EXPECT_EQ(m_log.countHolding("make no sense"), 1U);
}

TEST_F(ChannelRecorderTest, WhatWasKeptInMemoryAloneIsBroughtByTheJoinAndGoesIntoTheStore)
{
    const ChannelName elsewhere{"R2", "TopicTarget"};
    {
        RecentRows before(m_store);
        before.append({m_name, "7", outputCodec().typeName, ++m_time, contentOf(7, 1)});
        before.append({m_name, "9x", outputCodec().typeName, ++m_time, contentOf(9, 1)});
        before.append({elsewhere, "8", outputCodec().typeName, ++m_time, contentOf(8, 1)});
        before.flush();
    }
    testsupport::writeFile(m_store, ""); // what is in memory belongs to a store that is there
    start();

    join();

    EXPECT_EQ(history(), Contents{contentOf(7, 1)});
    EXPECT_EQ(m_log.count("WARN Durable topic TopicTarget in R1: 1 stored rows make no sense and are left out"), 1U);
    ASSERT_TRUE(m_keeper->finish());
    m_keeper.reset();
    const std::vector<StoredRow> stored = Store(m_store).load();
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored[0].instance, "7");
    EXPECT_EQ(stored[0].channel, m_name);
}

TEST_F(ChannelRecorderTest, StoreIsDueWhenSomethingIsLearntAndNotOtherwise)
{
    start();
    joined();
    EXPECT_FALSE(look());
    take(7, 1);
    EXPECT_TRUE(look());
    EXPECT_FALSE(look());

    m_sut->keepAgain();

    EXPECT_TRUE(look());
}

TEST_F(ChannelRecorderTest, MemoryOfABurstIsNoLongerBusyOnceItRests)
{
    start();
    joined();
    for (std::size_t i = 0; i < HandOver::initialValues; ++i)
    {
        take(7, 1);
    }
    look();
    EXPECT_FALSE(m_sut->isBusy());
    for (std::size_t i = 0; i <= HandOver::initialValues; ++i)
    {
        take(7, 3);
    }
    look();
    EXPECT_TRUE(m_sut->isBusy());

    m_sut->rest();

    EXPECT_FALSE(m_sut->isBusy());
    EXPECT_EQ(m_sut->handedOver(), 0U);
}
