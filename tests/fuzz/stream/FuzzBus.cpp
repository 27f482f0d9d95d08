#include "tests/fuzz/stream/FuzzBus.h"

#include "bustypes/SampleText.h"
#include "dds/core/LogSink.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/ReaderDelegate.hpp"
#include "dds/detail/WriterDelegate.hpp"
#include "durability/DurableSettings.h"
#include "durability/Recorder.h"
#include "tests/fuzz/support/Require.h"

#include <cstring>
#include <set>

namespace fuzz
{

using Support = com::tallowcrest::dds_::routing::TypeSupport<FuzzBus::Output>;

FuzzBus& FuzzBus::instance()
{
    static FuzzBus& theBus = *new FuzzBus;
    return theBus;
}

void FuzzBus::reset()
{
    m_writes.clear();
    m_history.clear();
    m_channels.clear();
}

void FuzzBus::attach(const dds::detail::ReaderDelegate* reader, std::string topic, std::string partition,
                     std::function<bool(const void*)> isWanted)
{
    m_readers[reader].channel = Channel(std::move(topic), std::move(partition));
    m_readers[reader].isWanted = std::move(isWanted);
}

void FuzzBus::listen(const dds::detail::ReaderDelegate* reader, dds::detail::ReaderCallback callback)
{
    m_readers.at(reader).callback = std::move(callback);
}

void FuzzBus::addChannel(std::shared_ptr<com::tallowcrest::durability::Channel> channel)
{
    m_channels.push_back(std::move(channel));
}

void FuzzBus::deliverHistory()
{
    using com::tallowcrest::durability::HandOver;
    for (const auto& channel : std::exchange(m_channels, {}))
    {
        HandOver::Batch handedOver; // nobody records it: what was written is history at once
        channel->drain(handedOver);
        if (const auto join = channel->takeJoin())
        {
            com::tallowcrest::durability::Channel::Delivery delivery;
            for (const auto& [number, kept] : m_history[Channel(channel->name().topic, channel->name().partition)])
            {
                delivery.decisions.push_back(
                    {.written = kept.second, .content = com::tallowcrest::dds_::routing::jsonText(kept.first)});
            }
            join->deliver(std::move(delivery));
        }
    }
}

void FuzzBus::record(const std::string& topic, const std::string& partition, const Output& sample, SourceTime written)
{
    m_writes.push_back({topic, partition, sample});
    m_history[Channel(topic, partition)][sample.macroXptOutput] = {sample, written};
}

std::vector<FuzzBus::Sample> FuzzBus::take(const dds::detail::ReaderDelegate* reader, std::size_t most)
{
    std::vector<Sample>& waiting = m_readers.at(reader).samples;
    require(waiting.size() <= most, "no more comes than a look takes");
    return std::exchange(waiting, {});
}

void FuzzBus::deliver(const std::string& topic, const std::string& partition, const Bytes& bytes, bool isValid)
{
    for (auto& [delegate, reader] : m_readers)
    {
        if (reader.channel != Channel(topic, partition))
        {
            continue;
        }
        if (!isValid || !reader.isWanted || reader.isWanted(bytes.data()))
        {
            reader.samples.push_back({bytes, isValid});
            if (reader.callback)
            {
                reader.callback(dds::core::status::DataAvailableStatus{});
            }
        }
    }
}

} // namespace fuzz

// The keeping of targets without threads and files: a channel's history is what was written.
namespace com::tallowcrest::durability
{

std::filesystem::path storePath()
{
    return {};
}

bool areTargetsShared()
{
    return false;
}

ParticipantWatch::ParticipantWatch(const dds::domain::DomainParticipant&, Clock::time_point started)
    : m_newcomer(started), m_reader(dds::core::null)
{}

Recorder::Recorder(dds::domain::DomainParticipant participant, std::filesystem::path store,
                   std::chrono::milliseconds calmTime)
    : m_participant(std::move(participant)), m_store(std::move(store)), m_calmTime(calmTime),
      m_participants(m_participant, m_participant.delegate()->started()), m_spareMemory(m_calmTime)
{}

Recorder::~Recorder() = default;

std::shared_ptr<Channel> Recorder::channel(const Channel::Settings& settings, const TypeCodec& codec)
{
    std::shared_ptr<Channel>& channel = m_channels[settings.name];
    if (channel == nullptr)
    {
        channel = std::make_shared<Channel>(settings, codec, m_wake);
    }
    fuzz::FuzzBus::instance().addChannel(channel);
    return channel;
}

} // namespace com::tallowcrest::durability

// What follows stands in for the parts of ddscxx that call the DDS library.
namespace dds::detail
{

namespace
{

using fuzz::FuzzBus;

std::string partitionOf(const core::policy::Partition& partition)
{
    return partition.name().empty() ? std::string() : partition.name().front();
}

} // namespace

Entity::~Entity() = default;

ParticipantDelegate::ParticipantDelegate(std::uint32_t) : m_entity(1) {}

std::uint32_t ParticipantDelegate::domainId() const
{
    return 0;
}

PublisherDelegate::PublisherDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                     const pub::qos::PublisherQos& qos)
    : m_participant(std::move(participant)), m_qos(qos), m_entity(1)
{}

SubscriberDelegate::SubscriberDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                       const sub::qos::SubscriberQos& qos)
    : m_participant(std::move(participant)), m_qos(qos), m_entity(1)
{}

TopicDelegate::TopicDelegate(std::shared_ptr<ParticipantDelegate> participant, const dds_topic_descriptor_t& descriptor,
                             std::string name, const topic::qos::TopicQos& qos, Filter filter)
    : m_participant(std::move(participant)), m_name(std::move(name)), m_qos(qos), m_descriptor(descriptor),
      m_filter(std::move(filter)), m_entity(1)
{}

WriterDelegate::WriterDelegate(std::shared_ptr<PublisherDelegate> publisher, std::shared_ptr<TopicDelegate> topic,
                               const pub::qos::DataWriterQos& qos)
    : m_publisher(std::move(publisher)), m_topic(std::move(topic)), m_qos(qos), m_entity(1)
{}

WriterDelegate::~WriterDelegate() = default;

void WriterDelegate::write(const void* sample, core::Time sourceTimestamp)
{
    fuzz::require(m_topic->sampleSize() == sizeof(fuzz::Support::BusType), "the bridge writes targets only");
    fuzz::Support::BusType bus;
    std::memcpy(&bus, sample, sizeof(bus));
    FuzzBus::instance().record(m_topic->name(), partitionOf(m_publisher->qos().policy<core::policy::Partition>()),
                               fuzz::Support::fromBus(bus),
                               com::tallowcrest::durability::fromBusTime(sourceTimestamp.to_nanoseconds()));
}

// An instance that comes and goes without a value is nothing that a router sees.
core::InstanceHandle WriterDelegate::registerInstance(const void*)
{
    return {};
}

void WriterDelegate::unregisterInstance(core::InstanceHandle, core::Time) {}

void WriterDelegate::waitForAcknowledgments(core::Duration) {}

core::status::PublicationMatchedStatus WriterDelegate::publicationMatchedStatus()
{
    return {};
}

std::vector<pub::MatchedSubscription> WriterDelegate::matchedSubscriptions() const
{
    return {};
}

core::InstanceHandle WriterDelegate::lookupInstance(const void*) const
{
    fuzz::require(false, "targets are never looked up");
    return {};
}

void WriterDelegate::disposeInstance(core::InstanceHandle, core::Time)
{
    fuzz::require(false, "targets are never disposed of");
}

ReaderDelegate::ReaderDelegate(std::shared_ptr<SubscriberDelegate> subscriber, std::shared_ptr<TopicDelegate> topic,
                               const sub::qos::DataReaderQos& qos)
    : m_subscriber(std::move(subscriber)), m_topic(std::move(topic)), m_qos(qos), m_entity(1)
{
    // All samples are those of one writer.
    std::function<bool(const void*)> isWanted;
    if (const auto filter = m_topic->filter())
    {
        isWanted = [filter](const void* sample) { return filter(sample, core::InstanceHandle(1)); };
    }
    FuzzBus::instance().attach(this, m_topic->name(),
                               partitionOf(m_subscriber->qos().policy<core::policy::Partition>()), std::move(isWanted));
}

ReaderDelegate::~ReaderDelegate()
{
    FuzzBus::instance().detach(this);
}

void ReaderDelegate::take(const Visitor& visit, std::size_t most)
{
    for (const FuzzBus::Sample& sample : FuzzBus::instance().take(this, most))
    {
        dds_sample_info_t info{};
        info.sample_state = DDS_SST_NOT_READ;
        info.view_state = DDS_VST_NEW;
        info.instance_state = sample.isValid ? DDS_IST_ALIVE : DDS_IST_NOT_ALIVE_DISPOSED;
        info.valid_data = sample.isValid;
        visit(sample.bytes.data(), info);
    }
}

void ReaderDelegate::listen(ReaderCallback callback, core::status::StatusMask)
{
    FuzzBus::instance().listen(this, std::move(callback));
}

} // namespace dds::detail

namespace dds::core
{

/// There is no library that could have anything to say.
void log_sink(LogSink) {}

} // namespace dds::core
