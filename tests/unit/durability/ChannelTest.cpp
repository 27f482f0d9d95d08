#include "durability/Channel.h"

#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace com::tallowcrest::durability;

namespace
{

class ChannelTest : public testing::Test
{
protected:
    bool apply(std::uint32_t number, std::uint32_t input, SourceTime written, Channel::Origin origin)
    {
        const BusOutput sample = busOutput(number, input);
        return m_sut.apply(std::to_string(number), &sample, written, origin);
    }
    static KeptSample kept(std::uint32_t number, std::uint32_t input, SourceTime written)
    {
        const BusOutput sample = busOutput(number, input);
        const auto* const bytes = reinterpret_cast<const std::byte*>(&sample);
        return {std::to_string(number), written, {bytes, bytes + sizeof(sample)}};
    }
    Channel::Stamp stamp(std::uint32_t number, std::uint32_t input, std::uint32_t when = 0, SourceTime now = 50)
    {
        const BusOutput sample = busOutput(number, input, when);
        return m_sut.stamp(&sample, now);
    }
    std::vector<StoredRow> due()
    {
        std::vector<StoredRow> rows;
        m_sut.collectDue(rows);
        return rows;
    }

    /// Whether a wait of the recorder's ends by a signal.
    bool isRecorderWoken()
    {
        const auto deadline = com::tallowcrest::util::WakeEvent::Clock::now() + std::chrono::seconds(10);
        m_recorder.waitUntil(deadline);
        return com::tallowcrest::util::WakeEvent::Clock::now() < deadline;
    }

    com::tallowcrest::util::WakeEvent m_recorder;
    Channel m_sut{{"R1", "Topic"}, outputCodec(), m_recorder};
};

} // namespace

TEST_F(ChannelTest, WriteSortsAfterEverythingKnown)
{
    apply(7, 5, 1000, Channel::Origin::Bus);

    EXPECT_EQ(stamp(8, 1, 0, 50).time, 1001);
    EXPECT_EQ(stamp(8, 1, 0, 2000).time, 2000);
}

TEST_F(ChannelTest, HandsOverInOrder)
{
    const BusOutput first = busOutput(7, 5);
    const BusOutput second = busOutput(7, 6);
    m_sut.handOver(&first, 1);
    m_sut.handOver(&second, 2);

    HandOver::Batch batch;
    m_sut.drain(batch);

    ASSERT_EQ(batch.size(), 2U);
    EXPECT_EQ(batch.times, (std::vector<SourceTime>{1, 2}));
    EXPECT_EQ(std::memcmp(batch.samples.data(), &first, sizeof(first)), 0);
    EXPECT_EQ(std::memcmp(batch.samples.data() + sizeof(first), &second, sizeof(second)), 0);
    m_sut.drain(batch);
    EXPECT_EQ(batch.size(), 0U);
}

TEST_F(ChannelTest, GivingMemoryBackLosesNothingThatWasHandedOver)
{
    const BusOutput sample = busOutput(7, 5);
    HandOver::Batch batch;
    for (std::size_t i = 0; i < 10 * HandOver::initialSamples; ++i)
    {
        m_sut.handOver(&sample, 1);
    }
    m_sut.drain(batch);
    const std::size_t afterBurst = batch.samples.capacity();
    m_sut.handOver(&sample, 2);

    m_sut.shrinkHandOver(batch);

    EXPECT_EQ(batch.size(), 0U);
    EXPECT_LT(batch.samples.capacity(), afterBurst);
    m_sut.drain(batch);
    EXPECT_EQ(batch.times, std::vector<SourceTime>{2});
    EXPECT_EQ(std::memcmp(batch.samples.data(), &sample, sizeof(sample)), 0);
}

TEST_F(ChannelTest, OnlyWhatTheStoreDoesNotHaveIsDue)
{
    apply(1, 5, 100, Channel::Origin::Store);
    apply(2, 5, 100, Channel::Origin::Writer);
    apply(3, 5, 100, Channel::Origin::Bus);

    const auto rows = due();

    EXPECT_EQ(rows.size(), 2U);
    EXPECT_TRUE(due().empty());
}

TEST_F(ChannelTest, DueRowIsReadable)
{
    apply(7, 5, 100, Channel::Origin::Writer);

    EXPECT_EQ(due(),
              (std::vector<StoredRow>{{{"R1", "Topic"},
                                       "7",
                                       "com::tallowcrest::dds_::routing::MacroXptOutput",
                                       100,
                                       R"({"macroXptOutput":7,"macroXptInput":5,"when":0,"lprId":0,"lprState":0})"}}));
}

TEST_F(ChannelTest, TakesOfOneOutputAreOneRow)
{
    apply(7, 5, 100, Channel::Origin::Writer);
    apply(7, 6, 101, Channel::Origin::Writer);

    EXPECT_EQ(due().size(), 1U);
}

TEST_F(ChannelTest, RowsThatCouldNotBeStoredAreDueAgainWithTheirNewestValue)
{
    apply(7, 5, 100, Channel::Origin::Writer);
    const auto rows = due();
    apply(7, 6, 101, Channel::Origin::Writer);

    m_sut.giveBack(rows);

    const auto again = due();
    ASSERT_EQ(again.size(), 1U);
    EXPECT_EQ(again[0].written, 101);
}

TEST_F(ChannelTest, FreshStoreMakesEverythingDue)
{
    apply(1, 5, 100, Channel::Origin::Store);

    m_sut.makeAllDue();

    EXPECT_EQ(due().size(), 1U);
}

TEST_F(ChannelTest, RepeatedHistoryKeepsItsTimeWheneverItTakesEffect)
{
    m_sut.beginReplay({kept(7, 5, 100)});

    const auto first = stamp(7, 5, 4711, 5000);
    const auto second = stamp(7, 5, 4711, 5000);

    EXPECT_TRUE(first.isReplay);
    EXPECT_FALSE(first.isOvertaken);
    EXPECT_EQ(first.time, 100);
    EXPECT_FALSE(second.isReplay);
    EXPECT_EQ(second.time, 5000);
}

TEST_F(ChannelTest, WriteThatSaysSomethingElseIsNoRepetition)
{
    m_sut.beginReplay({kept(7, 5, 100)});

    const auto result = stamp(7, 6, 0, 5000);

    EXPECT_FALSE(result.isReplay);
    EXPECT_EQ(result.time, 5000);
}

TEST_F(ChannelTest, RepetitionIsOvertakenByWhatWasSetMeanwhile)
{
    apply(7, 5, 100, Channel::Origin::Store);
    m_sut.beginReplay({kept(7, 5, 100)});
    apply(7, 9, 200, Channel::Origin::Bus);

    EXPECT_TRUE(stamp(7, 5).isOvertaken);
}

TEST_F(ChannelTest, NothingIsARepetitionOnceTheReaderHasGone)
{
    m_sut.beginReplay({kept(7, 5, 100)});

    m_sut.endReplay();

    EXPECT_FALSE(stamp(7, 5).isReplay);
}

TEST_F(ChannelTest, HistoryEndsWhenTheRecorderHasItAll)
{
    apply(8, 6, 200, Channel::Origin::Store);
    std::thread recorder([this] {
        EXPECT_TRUE(testsupport::waitUntil([this] { return m_sut.waiting().ticket != 0; }));
        apply(7, 5, 100, Channel::Origin::Bus);
        m_sut.complete(m_sut.waiting().ticket);
    });

    const auto history = m_sut.history(std::chrono::seconds(20));
    recorder.join();

    EXPECT_TRUE(history.isComplete);
    ASSERT_EQ(history.samples.size(), 2U);
    EXPECT_EQ(history.samples[0].instance, "7");
    EXPECT_EQ(history.samples[1].instance, "8");
    EXPECT_EQ(m_sut.waiting().ticket, 0U);
}

TEST_F(ChannelTest, HistoryGivesWhatIsThereWhenTimeRunsOut)
{
    apply(8, 6, 200, Channel::Origin::Store);

    const auto history = m_sut.history(std::chrono::milliseconds(20));

    EXPECT_FALSE(history.isComplete);
    EXPECT_EQ(history.samples.size(), 1U);
    EXPECT_EQ(m_sut.waiting().ticket, 0U);
}

TEST_F(ChannelTest, RecorderIsWokenByWhatWaitsForIt)
{
    const BusOutput sample = busOutput(7, 5);

    m_sut.handOver(&sample, 1);
    EXPECT_TRUE(isRecorderWoken());
    m_sut.addUser();
    EXPECT_TRUE(isRecorderWoken());
    m_sut.removeUser();
    EXPECT_TRUE(isRecorderWoken());
    static_cast<void>(m_sut.history(std::chrono::milliseconds(1)));
    EXPECT_TRUE(isRecorderWoken());
}

TEST_F(ChannelTest, UsersAreCounted)
{
    EXPECT_FALSE(m_sut.isUsed());
    m_sut.addUser();
    m_sut.addUser();
    m_sut.removeUser();
    EXPECT_TRUE(m_sut.isUsed());
    m_sut.removeUser();
    EXPECT_FALSE(m_sut.isUsed());
}

TEST_F(ChannelTest, MoreInstancesThanThereIsRoomForAreRefusedAndThatIsToldOnce)
{
    for (std::uint32_t i = 0; i < SampleTable::maxInstances; ++i)
    {
        ASSERT_TRUE(apply(i, 5, 100, Channel::Origin::Bus));
    }
    EXPECT_FALSE(m_sut.takeRefusal());

    EXPECT_FALSE(apply(SampleTable::maxInstances, 5, 100, Channel::Origin::Bus));
    EXPECT_FALSE(apply(SampleTable::maxInstances + 1, 5, 100, Channel::Origin::Bus));

    EXPECT_TRUE(m_sut.takeRefusal());
    EXPECT_FALSE(m_sut.takeRefusal());
    EXPECT_TRUE(apply(7, 6, 101, Channel::Origin::Bus)) << "what is known is kept up to date";
    EXPECT_FALSE(apply(SampleTable::maxInstances, 5, 100, Channel::Origin::Bus));
    EXPECT_FALSE(m_sut.takeRefusal()) << "told already";
}
