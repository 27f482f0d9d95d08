#include "buswrappers/DurableXptOutputPub.h"

#include "bustypes/TopicNames.h"
#include "buswrappers/BusQos.h"
#include "buswrappers/Participant.h"
#include "dds/sub/DataReader.hpp"
#include "dds/topic/Topic.hpp"
#include "durability/DurableSettings.h"

namespace com::tallowcrest::routing
{

using dds::core::policy::Durability;
using dds::core::policy::DurabilityKind;
using dds::core::policy::IgnoreLocal;
using dds::core::policy::UserData;
using dds_::routing::MacroXptOutput;

DurableXptOutputPub::DurableXptOutputPub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName,
                                         std::uint32_t greatest, KeptXptOutputsHandler& handler)
    : MacroXptOutputPub(std::move(topicName), true), m_apartment(std::move(apartment)), m_greatest(greatest),
      m_handler(handler), m_recorder(sharedRecorder()), m_readersLabel("topic=\"" + this->topicName() + "\""),
      m_readers("korabridge_target_readers_matched",
                "Readers of the targets that the bus has matched and that are no bridge's.", m_readersLabel),
      m_presence(*this)
{}

DurableXptOutputPub::~DurableXptOutputPub()
{
    leave();
}

void DurableXptOutputPub::leave()
{
    if (m_channel)
    {
        m_channel->leave();
        m_channel.reset();
    }
    if (m_topic)
    {
        m_topic->close();
        m_topic.reset();
    }
    m_readers.set(0);
}

std::shared_ptr<durability::Channel> DurableXptOutputPub::channelOf(const std::string& routerPartition) const
{
    return m_recorder->channel({.name = {partitionName(routerPartition), topicName()},
                                .greatest = m_greatest,
                                .isShared = durability::areTargetsShared(),
                                .bridgesWrite = routing::topicName(TopicName::ComponentInfoKoraBridge)},
                               durableCodec<MacroXptOutput>());
}

void DurableXptOutputPub::expectToJoin(const std::string& routerPartition)
{
    m_expected = channelOf(routerPartition);
    m_expected->expectJoin();
}

void DurableXptOutputPub::joinRouterPartition(const std::string& routerPartition)
{
    if (routerPartition.empty())
    {
        m_expected.reset();
        leave();
        MacroXptOutputPub::joinRouterPartition(routerPartition);
        return;
    }
    const Places<MacroXptOutput> places{
        .has = [greatest = m_greatest](const MacroXptOutput& sample) { return sample.macroXptOutput <= greatest; }};
    const dds::topic::Topic<MacroXptOutput> topic(participant(), topicName(), busTopicQos(participant(), durability()),
                                                  filterFor<MacroXptOutput>(places, [] {}));
    const dds::sub::Subscriber subscriber(participant(), busSubscriberQos(participant(), routerPartition));
    dds::sub::qos::DataReaderQos historyQos(topic.qos());
    historyQos << IgnoreLocal(true) << UserData(historyReaderMark);
    dds::sub::qos::DataReaderQos seenQos(historyQos);
    seenQos << Durability(DurabilityKind::VOLATILE);
    dds::sub::DataReader<MacroXptOutput> seen(subscriber, topic, seenQos);
    dds::sub::DataReader<MacroXptOutput> history(subscriber, topic, historyQos);

    MacroXptOutputPub::joinRouterPartition(routerPartition);
    try
    {
        follow(std::move(seen), std::move(history));
    }
    catch (...)
    {
        leave(); // what is written now must not count as the earlier partition's
        throw;
    }
}

void DurableXptOutputPub::follow(dds::sub::DataReader<MacroXptOutput> seen,
                                 dds::sub::DataReader<MacroXptOutput> history)
{
    // Readers confirm it like any sample, and know nothing of an instance that they have never seen.
    writer().unregister_instance(writer().register_instance(MacroXptOutput{}));
    auto channel = channelOf(routerPartition());
    auto joined = std::make_shared<DurableTopic<MacroXptOutput>>(
        writer(), std::move(seen), std::move(history),
        [channel = std::weak_ptr(channel)] {
            if (const auto there = channel.lock())
            {
                there->wake();
            }
        },
        [this](std::size_t number) { m_readers.set(static_cast<std::int64_t>(number)); });
    if (channel != m_channel) // else it goes on with what it knows
    {
        leave();
        m_channel = std::move(channel);
    }
    if (m_topic)
    {
        m_topic->close();
    }
    m_topic = std::move(joined);
    m_expected.reset();
    const std::uint64_t join = ++m_join;
    m_channel->join(m_topic, [presence = m_presence.weak(), apartment = m_apartment,
                              join](const durability::Channel::Delivery& delivery) {
        KeptXptOutputs kept{
            .purpose = delivery.purpose, .outputs = {}, .haveReadersAnswered = delivery.haveReadersAnswered};
        kept.outputs.reserve(delivery.decisions.size());
        for (const durability::Decision& decision : delivery.decisions)
        {
            KeptXptOutput output{.sample = {}, .written = decision.written};
            if (dds_::routing::parseJson(decision.content, output.sample))
            {
                kept.outputs.push_back(output);
            }
        }
        apartment::post(*apartment, std::make_unique<EventOnKeptXptOutputs>(presence, join, std::move(kept)));
    });
}

SourceTime DurableXptOutputPub::decide(const MacroXptOutput& sample)
{
    if (!m_channel)
    {
        MacroXptOutputPub::write(sample);
        return 0;
    }
    const SourceTime written =
        m_channel->clock().next(durability::fromBusTime(participant().current_time().to_nanoseconds()));
    writer().write(sample, dds::core::Time(durability::toBusTime(written)));
    m_channel->handOver(&sample, written, false);
    return written;
}

void DurableXptOutputPub::repeat(const MacroXptOutput& sample, SourceTime written)
{
    if (!m_channel)
    {
        return;
    }
    try
    {
        writer().write(sample, dds::core::Time(durability::toBusTime(written)));
    }
    catch (const dds::core::Exception&)
    {
        m_channel->refused(sample.macroXptOutput);
        return;
    }
    m_channel->handOver(&sample, written, true);
}

void DurableXptOutputPub::take(std::uint64_t join, const KeptXptOutputs& kept)
{
    if (join == m_join && m_channel)
    {
        m_handler.onKept(kept);
    }
}

} // namespace com::tallowcrest::routing
