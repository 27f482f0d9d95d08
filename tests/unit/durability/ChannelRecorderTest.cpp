#include "durability/ChannelRecorder.h"

#include "tests/support/ForcedFiles.h"
#include "tests/unit/durability/OtherParticipant.h"
#include "tests/unit/durability/OutputCodec.h"
#include "tests/unit/durability/StoreFixture.h"

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;
using testsupport::waitUntil;

namespace
{

/// What the recorder does for one channel, on the test's thread and by a time that the test says.
class ChannelRecorderTest : public StoreFixture
{
protected:
    using Time = Channel::Clock::time_point;

    ChannelRecorderTest() { m_channel->addUser(); }

    /// Looks, at a time after the beginning, until `count` instances are known.
    bool workUntilKnown(std::size_t count, std::chrono::milliseconds at)
    {
        return waitUntil([&] {
            m_sut.work(m_begin + at);
            return m_channel->size() == count;
        });
    }
    /// Whether a wait that began at one time goes on at another.
    bool isWaiting(std::chrono::milliseconds since, std::chrono::milliseconds at)
    {
        return m_sut.serveWait({++m_ticket, m_begin + since}, m_participants, m_begin + at);
    }

    dds_entity_t participant() const { return m_participant.delegate()->handle(); }

    testsupport::ForcedFiles m_disk;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    const Time m_begin = Channel::Clock::now();
    com::tallowcrest::util::WakeEvent m_wake;
    ChannelList m_channels{m_wake};
    std::shared_ptr<Channel> m_channel = m_channels.get({"R1", "TopicTarget"}, outputCodec());
    RecentRows m_recent{m_path, m_channels, true};
    StoreKeeper m_keeper{m_path, m_channels, [] {}};
    ParticipantWatch m_participants{participant(), m_begin - 1h};
    ChannelRecorder m_sut{participant(), m_channel, m_keeper, m_recent, m_wake};
    std::uint64_t m_ticket = 0;
};

} // namespace

TEST_F(ChannelRecorderTest, PeerThatGoesOnGivingIsWaitedForHoweverLongThatTakes)
{
    OtherParticipant peer(4);
    peer.handOver(1, 5);
    ASSERT_TRUE(workUntilKnown(1, 0s));
    EXPECT_TRUE(isWaiting(0s, 2999ms));

    for (std::uint32_t number = 2; number <= 4; ++number)
    {
        const auto given = 2900ms * (number - 1);
        peer.handOver(number, 5);
        ASSERT_TRUE(workUntilKnown(number, given));
        EXPECT_EQ(isWaiting(0s, given + 2999ms), number < 4) << number << " of 4 are there";
    }
    EXPECT_TRUE(m_log.takeTexts().empty());
}

TEST_F(ChannelRecorderTest, SilenceOfAPeerCountsFromWhatItGaveLast)
{
    OtherParticipant peer(3);
    peer.handOver(1, 5);
    ASSERT_TRUE(workUntilKnown(1, 0s));
    peer.handOver(2, 5);
    ASSERT_TRUE(workUntilKnown(2, 2s));

    EXPECT_TRUE(isWaiting(0s, 4999ms));
    EXPECT_FALSE(isWaiting(0s, 5s));

    EXPECT_EQ(m_log.takeTexts(),
              std::vector<std::string>{"WARN Durable topic TopicTarget in R1: 1 other bridges are silent and no longer "
                                       "waited for"});
}

TEST_F(ChannelRecorderTest, SilenceOfAPeerThatGaveNothingSinceCountsFromTheBeginningOfTheWait)
{
    OtherParticipant peer(2);
    peer.handOver(1, 5);
    ASSERT_TRUE(workUntilKnown(1, 0s));

    EXPECT_TRUE(isWaiting(60s, 60s));
    EXPECT_TRUE(isWaiting(60s, 62999ms));
    EXPECT_FALSE(isWaiting(60s, 63s));
}

TEST_F(ChannelRecorderTest, NobodyIsWaitedForWithoutAWait)
{
    EXPECT_FALSE(m_sut.serveWait({}, m_participants, m_begin));
}

TEST_F(ChannelRecorderTest, ParticipantsThatMayNotHaveFoundEachOtherAreWaitedFor)
{
    ParticipantWatch fresh(participant(), m_begin);
    ASSERT_TRUE(waitUntil([this] { return m_keeper.hasTried(); }));
    m_sut.work(m_begin);

    EXPECT_TRUE(m_sut.serveWait({1, m_begin}, fresh, m_begin + 299ms));
    EXPECT_FALSE(m_sut.serveWait({1, m_begin}, fresh, m_begin + 350ms));
}

TEST_F(ChannelRecorderTest, StoreThatHasNotBeenReadYetIsWaitedFor)
{
    m_disk.hold(); // a new store is forced to the disk before it counts as read
    StoreKeeper slow(m_directory.path() / "slow.db", m_channels, [] {});
    ChannelRecorder sut(participant(), m_channel, slow, m_recent, m_wake);
    sut.work(m_begin);

    EXPECT_TRUE(sut.serveWait({1, m_begin}, m_participants, m_begin + 1h));
    m_disk.release();

    ASSERT_TRUE(waitUntil([&] { return slow.hasTried(); }));
    EXPECT_TRUE(sut.serveWait({1, m_begin}, m_participants, m_begin + 1h)) << "the others have not been asked yet";
    sut.work(m_begin);
    EXPECT_FALSE(sut.serveWait({1, m_begin}, m_participants, m_begin + 1h));
}
