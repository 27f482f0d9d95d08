#include "durability/NeighbourPort.h"

#include "CrowdOfNeighbours.h"
#include "durability/BusEntity.h"
#include "tests/support/WaitUntil.h"

#include <exchange.h>
#include <gtest/gtest.h>

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
    void start() { m_sut.emplace(m_participant.delegate()->handle(), m_channel, recordTopic, m_wake); }
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
    static NeighbourId name(const dds::domain::DomainParticipant& participant)
    {
        return nameOf(participant.delegate()->handle());
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

/// Makes and deletes an entity that lives as long as the test.
class RawWriter
{
public:
    RawWriter(dds_entity_t participant, const dds_topic_descriptor_t& type, const std::string& topic,
              const std::string& partition)
        : m_qos(dds_create_qos()),
          m_topic(dds_create_topic(participant, &type, topic.c_str(), nullptr, nullptr), "topic")
    {
        dds_qset_durability(m_qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_reliability(m_qos.get(), DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
        dds_qset_partition1(m_qos.get(), partition.c_str());
        m_writer.emplace(dds_create_writer(participant, m_topic.get(), m_qos.get(), nullptr), "writer");
    }
    dds_return_t write(const void* sample) { return dds_write(m_writer->get(), sample); }

private:
    BusQos m_qos;
    BusEntity m_topic;
    std::optional<BusEntity> m_writer;
};

} // namespace

TEST_F(NeighbourPortTest, ManyWritersOfOneParticipantHideNobody)
{
    m_others.add(Neighbours::most + 1);
    const NeighbourId bridge = name(m_others.add());
    const NeighbourId manyAgain = name(m_others.add(Neighbours::most + 1));

    start();

    EXPECT_TRUE(waitForNeighbour(bridge));
    EXPECT_TRUE(m_present.contains(manyAgain));
    EXPECT_EQ(m_sut->crowd(), 3U);
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
    const RawWriter records(participant.delegate()->handle(), com_tallowcrest_durability__ChannelRows_desc, recordTopic,
                            "");

    EXPECT_TRUE(waitForNeighbour(name(participant)));
    EXPECT_EQ(m_sut->crowd(), Neighbours::most + 1);
    EXPECT_EQ(m_present.size(), Neighbours::most);
    EXPECT_EQ(m_most, Neighbours::most);
}

TEST_F(NeighbourPortTest, WhoSpeaksInTheNameOfAnotherIsNotBelieved)
{
    const NeighbourId bridge = name(m_others.add());
    NeighbourPort& honest = m_others.lastPort();
    RawWriter liar(m_others.add().delegate()->handle(), com_tallowcrest_durability__ChannelStatus_desc,
                   m_channel.topic + "_durable", m_channel.partition);
    start();
    ASSERT_TRUE(waitForNeighbour(bridge));
    const auto tell = [&](NeighbourId met) { return honest.tell({.digests = {}, .met = {met}, .wants = {}}); };
    ASSERT_EQ(tell(1), DDS_RETCODE_OK);
    ASSERT_TRUE(waitUntil([&] {
        take();
        return m_said.contains(bridge);
    }));

    com_tallowcrest_durability__ChannelStatus lie{};
    lie.bridge = bridge;
    ASSERT_EQ(liar.write(&lie), DDS_RETCODE_OK);
    take(); // a writer of the same process has delivered it by now

    EXPECT_EQ(m_said[bridge], std::vector<NeighbourId>{1});
}
