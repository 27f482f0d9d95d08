#include "durability/NeighbourPort.h"

#include "CrowdOfNeighbours.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <map>
#include <set>

using namespace com::tallowcrest::durability;
using com::tallowcrest::util::WakeEvent;
using testsupport::waitUntil;

namespace
{

constexpr const char* recordTopic = "TopicOfRecords";

/// Sees neighbours on the real bus, through participants of the test's own.
class NeighbourPortTest : public testing::Test
{
protected:
    void start() { m_sut.emplace(m_participant, m_channel, recordTopic, m_wake); }
    void take()
    {
        m_sut->take({.onNeighbour =
                         [this](NeighbourId id, bool isThere) {
                             if (isThere)
                             {
                                 m_present.insert(id);
                             }
                             else
                             {
                                 m_present.erase(id);
                             }
                             m_most = std::max(m_most, m_present.size());
                         },
                     .onStatus = [this](NeighbourId id, const Status& status) { m_said[id] = status.met; },
                     .onRows = [](const BucketRows&) {}});
    }
    bool waitForNeighbour(NeighbourId id)
    {
        return waitUntil([&] {
            take();
            return m_present.contains(id);
        });
    }
    static NeighbourId name(const dds::domain::DomainParticipant& participant) { return nameOf(participant.key()); }

    /// Whether the port has signalled since the last time.
    bool isWoken()
    {
        const bool isSignalled = waitUntil([this] {
            pollfd wake{m_wake.fd(), POLLIN, 0};
            return ::poll(&wake, 1, 0) == 1;
        });
        m_wake.clear();
        return isSignalled;
    }

    const ChannelName m_channel{"R1", "TopicTarget"};
    WakeEvent m_wake;
    CrowdOfNeighbours m_others{m_channel};
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    std::optional<NeighbourPort> m_sut;
    std::set<NeighbourId> m_present;
    std::size_t m_most = 0;
    std::map<NeighbourId, std::vector<NeighbourId>> m_said;
};

/// A writer that a bridge has not made.
template <typename T>
dds::pub::DataWriter<T> writerOf(const dds::domain::DomainParticipant& participant, const std::string& topic,
                                 const std::string& partition)
{
    dds::pub::qos::PublisherQos publisher;
    publisher << dds::core::policy::Partition(partition);
    dds::pub::qos::DataWriterQos qos;
    qos << dds::core::policy::Durability::TransientLocal();
    return {dds::pub::Publisher(participant, publisher), dds::topic::Topic<T>(participant, topic, {}), qos};
}

} // namespace

TEST_F(NeighbourPortTest, ManyWritersOfOneParticipantHideNobody)
{
    const NeighbourId many = name(m_others.add(Neighbours::most + 1));
    const NeighbourId bridge = name(m_others.add()); // comes behind them in the library's lists

    start();

    EXPECT_TRUE(waitForNeighbour(bridge));
    EXPECT_TRUE(m_present.contains(many));
    EXPECT_EQ(m_sut->crowd(), 2U);
}

TEST_F(NeighbourPortTest, OfTooManyParticipantsTheOnesWithAComponentRecordAreThere)
{
    for (std::size_t i = 0; i < Neighbours::most; ++i)
    {
        m_others.add();
    }
    start();
    ASSERT_TRUE(waitUntil([this] {
        take();
        return m_present.size() == Neighbours::most;
    }));

    const auto& participant = m_others.add();
    const auto records = writerOf<RowsMessage>(participant, recordTopic, "");

    EXPECT_TRUE(waitForNeighbour(name(participant)));
    EXPECT_EQ(m_sut->crowd(), Neighbours::most + 1);
    EXPECT_EQ(m_present.size(), Neighbours::most);
    EXPECT_EQ(m_most, Neighbours::most);
}

TEST_F(NeighbourPortTest, WhoSpeaksInTheNameOfAnotherIsNotBelieved)
{
    const NeighbourId bridge = name(m_others.add());
    NeighbourPort& honest = m_others.lastPort();
    auto liar = writerOf<StatusMessage>(m_others.add(), m_channel.topic + "_durable", m_channel.partition);
    start();
    ASSERT_TRUE(waitForNeighbour(bridge));
    const auto tell = [&](NeighbourId met) { return honest.tell({.digests = {}, .met = {met}, .wants = {}}); };
    tell(1);
    ASSERT_TRUE(waitUntil([&] {
        take();
        return m_said.contains(bridge);
    }));

    liar.write({.bridge = bridge, .status = {}});
    take(); // a writer of the same process has delivered it by now

    EXPECT_EQ(m_said[bridge], std::vector<NeighbourId>{1});
}

TEST_F(NeighbourPortTest, WhatWasSaidByWhoWentBeforeItCouldHearIsForgotten)
{
    start();
    const dds::domain::DomainParticipant other(dds::domain::default_id());
    {
        auto deaf = writerOf<StatusMessage>(other, m_channel.topic + "_durable", m_channel.partition);
        m_wake.clear();
        deaf.write({.bridge = name(other), .status = {}});
        ASSERT_TRUE(isWoken());
        take(); // nobody who can be told of it yet
        m_wake.clear();
    }
    ASSERT_TRUE(isWoken());
    take();

    const NeighbourPort hears(other, m_channel, "", m_wake);

    ASSERT_TRUE(waitForNeighbour(name(other)));
    EXPECT_FALSE(m_said.contains(name(other)));
}

TEST_F(NeighbourPortTest, WhoComesAndWhatIsSaidWakesTheRecorder)
{
    start();
    m_wake.clear();
    const dds::domain::DomainParticipant other(dds::domain::default_id());
    const std::string statusTopic = m_channel.topic + "_durable";

    auto speaker = writerOf<StatusMessage>(other, statusTopic, m_channel.partition);
    EXPECT_TRUE(isWoken());
    speaker.write({});
    EXPECT_TRUE(isWoken());
    auto giver = writerOf<RowsMessage>(other, m_channel.topic + "_durable_rows", m_channel.partition);
    EXPECT_TRUE(isWoken());
    giver.write({});
    EXPECT_TRUE(isWoken());

    dds::sub::qos::SubscriberQos subscriber;
    subscriber << dds::core::policy::Partition(m_channel.partition);
    const dds::sub::DataReader<StatusMessage> listener(dds::sub::Subscriber(other, subscriber),
                                                       dds::topic::Topic<StatusMessage>(other, statusTopic, {}), {});
    EXPECT_TRUE(isWoken());
}
