#include "durability/CompanionPort.h"

#include "durability/GatheredWrites.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

constexpr std::size_t takeAtOnce = 256;
constexpr std::size_t mostPeers = 256;
constexpr dds_duration_t maxBlockingTime = DDS_MSECS(100);
constexpr std::string_view promisePrefix = "durable 1 ";

BusQos commonQos(const ChannelName& channel)
{
    BusQos qos(dds_create_qos());
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, maxBlockingTime);
    dds_qset_partition1(qos.get(), channel.partition.c_str());
    return qos;
}

void setPromise(dds_qos_t* qos, std::size_t promise)
{
    const std::string text = std::string(promisePrefix) + std::to_string(promise);
    dds_qset_userdata(qos, text.data(), text.size());
}

BusQos writerQos(const ChannelName& channel, std::size_t promise)
{
    BusQos qos = commonQos(channel);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    dds_qset_durability_service(qos.get(), 0, DDS_HISTORY_KEEP_LAST, 1, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED,
                                DDS_LENGTH_UNLIMITED);
    dds_qset_destination_order(qos.get(), DDS_DESTINATIONORDER_BY_SOURCE_TIMESTAMP);
    dds_qset_writer_data_lifecycle(qos.get(), false);
    gatherWrites(qos.get());
    setPromise(qos.get(), promise);
    return qos;
}

BusQos readerQos(const ChannelName& channel)
{
    // Everything is wanted, also what is older than something else: each writer's samples are counted, and the table
    // compares the times.
    BusQos qos = commonQos(channel);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, DDS_LENGTH_UNLIMITED);
    dds_qset_ignorelocal(qos.get(), DDS_IGNORELOCAL_PARTICIPANT);
    return qos;
}

template <typename... Status>
void wakeOn(dds_entity_t, Status..., void* wake)
{
    static_cast<util::WakeEvent*>(wake)->signal();
}

using Listener = std::unique_ptr<dds_listener_t, decltype(&dds_delete_listener)>;

Listener listener(util::WakeEvent& wake)
{
    Listener result(dds_create_listener(&wake), dds_delete_listener);
    dds_lset_data_available(result.get(), wakeOn<>);
    dds_lset_subscription_matched(result.get(), wakeOn<const dds_subscription_matched_status_t>);
    dds_lset_publication_matched(result.get(), wakeOn<const dds_publication_matched_status_t>);
    return result;
}

std::size_t promiseOf(const dds_builtintopic_endpoint_t& endpoint)
{
    void* data = nullptr;
    std::size_t size = 0;
    std::size_t promise = 0;
    if (dds_qget_userdata(endpoint.qos, &data, &size) && data != nullptr)
    {
        const std::string_view text(static_cast<const char*>(data), size);
        if (text.starts_with(promisePrefix))
        {
            std::from_chars(text.data() + promisePrefix.size(), text.data() + text.size(), promise);
        }
        dds_free(data);
    }
    return promise;
}

} // namespace

CompanionPort::CompanionPort(dds_entity_t participant, const ChannelName& channel, const TypeCodec& codec,
                             std::size_t promise, util::WakeEvent& wake)
    : m_channel(channel), m_codec(codec), m_promised(promise), m_storage(takeAtOnce * codec.sampleSize),
      m_samples(takeAtOnce), m_infos(takeAtOnce),
      m_topic(dds_create_topic(participant, codec.descriptor, topicName(channel.topic).c_str(), nullptr, nullptr),
              "making topic " + topicName(channel.topic)),
      m_publisher(dds_create_publisher(participant, commonQos(channel).get(), nullptr), "making a publisher"),
      m_subscriber(dds_create_subscriber(participant, commonQos(channel).get(), nullptr), "making a subscriber"),
      m_writer(
          dds_create_writer(m_publisher.get(), m_topic.get(), writerQos(channel, promise).get(), listener(wake).get()),
          "making the writer of " + topicName(channel.topic)),
      m_reader(dds_create_reader(m_subscriber.get(), m_topic.get(), readerQos(channel).get(), listener(wake).get()),
               "making the reader of " + topicName(channel.topic))
{
    for (std::size_t i = 0; i < takeAtOnce; ++i)
    {
        m_samples[i] = &m_storage[i * codec.sampleSize];
    }
}

dds_return_t CompanionPort::write(const void* sample, SourceTime written)
{
    return dds_write_ts(m_writer.get(), sample, toBusTime(written));
}

void CompanionPort::flush()
{
    dds_write_flush(m_writer.get());
}

void CompanionPort::promise(std::size_t instances)
{
    if (instances != m_promised)
    {
        const BusQos qos(dds_create_qos());
        setPromise(qos.get(), instances);
        if (dds_set_qos(m_writer.get(), qos.get()) == DDS_RETCODE_OK)
        {
            m_promised = instances;
        }
    }
}

void CompanionPort::take(const Visitor& visit)
{
    dds_return_t count = 0;
    do
    {
        count = dds_take(m_reader.get(), m_samples.data(), m_infos.data(), takeAtOnce,
                         static_cast<std::uint32_t>(takeAtOnce));
        for (std::size_t i = 0; count > 0 && i < static_cast<std::size_t>(count); ++i)
        {
            if (m_infos[i].valid_data)
            {
                visit(m_samples[i], fromBusTime(m_infos[i].source_timestamp), m_infos[i].instance_handle,
                      m_infos[i].publication_handle);
            }
        }
    } while (count == static_cast<dds_return_t>(takeAtOnce));
}

std::vector<CompanionPort::Peer> CompanionPort::peers() const
{
    std::array<dds_instance_handle_t, mostPeers> writers{};
    const dds_return_t count = dds_get_matched_publications(m_reader.get(), writers.data(), writers.size());
    std::vector<Peer> peers;
    for (std::size_t i = 0; count > 0 && i < std::min(static_cast<std::size_t>(count), writers.size()); ++i)
    {
        dds_builtintopic_endpoint_t* const endpoint = dds_get_matched_publication_data(m_reader.get(), writers[i]);
        if (endpoint != nullptr) // gone since
        {
            peers.push_back({writers[i], promiseOf(*endpoint)});
            dds_builtintopic_free_endpoint(endpoint);
        }
    }
    return peers;
}

bool CompanionPort::takeNewReaders()
{
    dds_publication_matched_status_t status{};
    // The listener has taken the change since the last look; the total is still right.
    return dds_get_publication_matched_status(m_writer.get(), &status) == DDS_RETCODE_OK &&
           std::exchange(m_readersSeen, status.total_count) < status.total_count;
}

} // namespace com::tallowcrest::durability
