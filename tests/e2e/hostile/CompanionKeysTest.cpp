// What one who takes part in the exchange between bridges can make one keep.
#include "bustypes/TopicNames.h"
#include "dds/pub/DataWriter.hpp"
#include "durability/Exchange.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/flatness/Figures.h"
#include "tests/support/MeaningfulMemory.h"

#include <chrono>
#include <optional>
#include <string>

using namespace e2e;

namespace
{

using com::tallowcrest::durability::NeighbourId;
using com::tallowcrest::durability::StatusMessage;
using com::tallowcrest::routing::partitionName;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;

class CompanionKeysTest : public BridgeFixture
{
protected:
    static constexpr NeighbourId names = 50'000;
    /// 0.16 KiB for each name: less than the least that an instance takes, more than what is on its way can.
    static constexpr std::size_t mostGrowthKiB = 8192;

    void SetUp() override
    {
        startJoined();
        dds::pub::qos::PublisherQos publisherQos;
        publisherQos << dds::core::policy::Partition(partitionName("R1"));
        dds::pub::qos::DataWriterQos qos;
        qos << dds::core::policy::Durability::TransientLocal() << dds::core::policy::Reliability::Reliable();
        const dds::topic::Topic<StatusMessage> topic(
            m_participant, std::string(topicName(TopicName::MacroXptOutputVideoTarget)) + "_durable",
            m_participant.default_topic_qos());
        m_writer = dds::pub::DataWriter<StatusMessage>(dds::pub::Publisher(m_participant, publisherQos), topic, qos);
        ASSERT_TRUE(testsupport::waitUntil([&] { return !m_writer.matched_subscriptions().empty(); }));
        say(1);
        m_residentKiB = residentKiB();
    }
    void say(NeighbourId name)
    {
        m_writer.write({.bridge = name, .status = {}});
        m_writer.wait_for_acknowledgments(std::chrono::seconds(10));
    }
    std::size_t residentKiB() { return flatness::ProcessFigures::of(bridge().pid()).residentKiB; }

    const dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    dds::pub::DataWriter<StatusMessage> m_writer{dds::core::null};
    std::size_t m_residentKiB = 0;
};

} // namespace

TEST_F(CompanionKeysTest, OneThatSpeaksInTheNamesOfThousandsCostsTheMemoryOfOne)
{
    for (NeighbourId name = 2; name < names; ++name)
    {
        m_writer.write({.bridge = name, .status = {}});
    }
    say(names);

    if (testsupport::isMemoryMeaningful)
    {
        EXPECT_LT(residentKiB(), m_residentKiB + mostGrowthKiB);
    }
    koraclient::KoraClient client = connectController();
    client.portPresent();
}
