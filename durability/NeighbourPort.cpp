#include "durability/NeighbourPort.h"

#include "dds/detail/GatheredWrites.hpp"

#include <exchange.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

namespace
{

using BusStatus = com_tallowcrest_durability__ChannelStatus;
using BusRows = com_tallowcrest_durability__ChannelRows;
using BusRow = com_tallowcrest_durability__Row;
using BusWant = com_tallowcrest_durability__Want;

constexpr dds_duration_t maxBlockingTime = DDS_MSECS(100);
constexpr std::int32_t rowsKept = 256; ///< of each neighbour, when we are slow

NeighbourId nameOfGuid(const dds_guid_t& guid)
{
    // FNV-1a over the participant's part of the name: the same wherever it is seen.
    constexpr std::size_t participantsPart = 12;
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < participantsPart; ++i)
    {
        hash = (hash ^ guid.v[i]) * 0x100000001b3U;
    }
    return hash;
}

BusQos commonQos(const ChannelName& channel, dds_durability_kind_t durability)
{
    BusQos qos(dds_create_qos());
    dds_qset_durability(qos.get(), durability);
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, maxBlockingTime);
    dds_qset_partition1(qos.get(), channel.partition.c_str());
    return qos;
}

BusQos statusQos(const ChannelName& channel)
{
    BusQos qos = commonQos(channel, DDS_DURABILITY_TRANSIENT_LOCAL);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    return qos;
}

BusQos rowsQos(const ChannelName& channel)
{
    BusQos qos = commonQos(channel, DDS_DURABILITY_VOLATILE);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, rowsKept);
    return qos;
}

BusQos readerQos(BusQos qos)
{
    dds_qset_ignorelocal(qos.get(), DDS_IGNORELOCAL_PARTICIPANT);
    return qos;
}

BusQos writerQos(BusQos qos)
{
    dds_qset_writer_data_lifecycle(qos.get(), true);
    dds::detail::gatherWrites(qos.get());
    return qos;
}

template <typename... StatusOfEntity>
void wakeOn(dds_entity_t, StatusOfEntity..., void* wake)
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

/// Calls `visit` with each valid sample of type T.
template <typename T, typename Visit>
void takeAll(dds_entity_t reader, const Visit& visit)
{
    constexpr std::size_t atOnce = 32;
    std::array<void*, atOnce> samples{};
    std::array<dds_sample_info_t, atOnce> infos{};
    dds_return_t count = 0;
    while ((count = dds_take(reader, samples.data(), infos.data(), atOnce, atOnce)) > 0)
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            if (infos[i].valid_data)
            {
                visit(*static_cast<const T*>(samples[i]));
            }
        }
        static_cast<void>(dds_return_loan(reader, samples.data(), count));
        samples.fill(nullptr);
    }
}

Status fromBus(const BusStatus& bus)
{
    Status status;
    status.digests.assign(bus.digests._buffer, bus.digests._buffer + bus.digests._length);
    status.met.assign(bus.met._buffer, bus.met._buffer + bus.met._length);
    for (std::uint32_t i = 0; i < bus.wants._length; ++i)
    {
        status.wants.push_back({bus.wants._buffer[i].bridge, bus.wants._buffer[i].bucket});
    }
    return status;
}

BucketRows fromBus(const BusRows& bus)
{
    BucketRows rows{.bucket = bus.bucket, .digest = bus.digest, .rows = {}};
    for (std::uint32_t i = 0; i < bus.rows._length; ++i)
    {
        const BusRow& row = bus.rows._buffer[i];
        rows.rows.push_back({row.instance, {.written = row.written, .content = row.content}});
    }
    return rows;
}

/// A sequence that looks at somebody else's vector.
template <typename Sequence, typename Element>
Sequence view(std::vector<Element>& elements)
{
    Sequence sequence{};
    sequence._maximum = static_cast<std::uint32_t>(elements.size());
    sequence._length = sequence._maximum;
    sequence._buffer = elements.data();
    return sequence;
}

} // namespace

NeighbourPort::NeighbourPort(dds_entity_t participant, const ChannelName& channel, util::WakeEvent& wake)
    : m_self(nameOf(participant)),
      m_statusTopic(dds_create_topic(participant, &com_tallowcrest_durability__ChannelStatus_desc,
                                     (channel.topic + "_durable").c_str(), nullptr, nullptr),
                    "making topic " + channel.topic + "_durable"),
      m_rowsTopic(dds_create_topic(participant, &com_tallowcrest_durability__ChannelRows_desc,
                                   (channel.topic + "_durable_rows").c_str(), nullptr, nullptr),
                  "making topic " + channel.topic + "_durable_rows"),
      m_publisher(dds_create_publisher(participant, statusQos(channel).get(), nullptr), "making a publisher"),
      m_subscriber(dds_create_subscriber(participant, statusQos(channel).get(), nullptr), "making a subscriber"),
      m_rowsReader(dds_create_reader(m_subscriber.get(), m_rowsTopic.get(), readerQos(rowsQos(channel)).get(),
                                     listener(wake).get()),
                   "making the reader of handed over targets"),
      m_rowsWriter(dds_create_writer(m_publisher.get(), m_rowsTopic.get(), writerQos(rowsQos(channel)).get(),
                                     listener(wake).get()),
                   "making the writer of handed over targets"),
      m_statusReader(dds_create_reader(m_subscriber.get(), m_statusTopic.get(), readerQos(statusQos(channel)).get(),
                                       listener(wake).get()),
                     "making the reader of neighbours"),
      m_statusWriter(dds_create_writer(m_publisher.get(), m_statusTopic.get(), writerQos(statusQos(channel)).get(),
                                       listener(wake).get()),
                     "making the writer for neighbours")
{}

NeighbourId NeighbourPort::nameOf(dds_entity_t participant)
{
    dds_guid_t guid{};
    const dds_return_t code = dds_get_guid(participant, &guid);
    if (code < 0)
    {
        throw BusError(std::string("asking for the participant's name: ") + dds_strretcode(code));
    }
    return nameOfGuid(guid);
}

bool NeighbourPort::hasMatchedAnew()
{
    dds_subscription_matched_status_t writers{};
    dds_publication_matched_status_t readers{};
    static_cast<void>(dds_get_subscription_matched_status(m_statusReader.get(), &writers));
    static_cast<void>(dds_get_publication_matched_status(m_statusWriter.get(), &readers));
    // Not the changes that the statuses tell: calling the listener has used them up.
    const std::array counts{writers.total_count, writers.current_count, readers.total_count, readers.current_count};
    return std::exchange(m_counts, counts) != counts;
}

std::set<NeighbourId> NeighbourPort::matched() const
{
    // Those whose writers are known here and whose readers are.
    std::array<dds_instance_handle_t, Neighbours::most> handles{};
    const auto names = [&](dds_return_t count, const auto& endpointOf) {
        std::set<NeighbourId> all;
        for (std::size_t i = 0; count > 0 && i < std::min(static_cast<std::size_t>(count), handles.size()); ++i)
        {
            dds_builtintopic_endpoint_t* const endpoint = endpointOf(handles[i]);
            if (endpoint != nullptr) // gone since
            {
                all.insert(nameOfGuid(endpoint->participant_key));
                dds_builtintopic_free_endpoint(endpoint);
            }
        }
        return all;
    };
    const std::set<NeighbourId> writers =
        names(dds_get_matched_publications(m_statusReader.get(), handles.data(), handles.size()),
              [this](dds_instance_handle_t handle) {
                  return dds_get_matched_publication_data(m_statusReader.get(), handle);
              });
    const std::set<NeighbourId> readers =
        names(dds_get_matched_subscriptions(m_statusWriter.get(), handles.data(), handles.size()),
              [this](dds_instance_handle_t handle) {
                  return dds_get_matched_subscription_data(m_statusWriter.get(), handle);
              });
    std::set<NeighbourId> both;
    std::set_intersection(writers.begin(), writers.end(), readers.begin(), readers.end(),
                          std::inserter(both, both.end()));
    both.erase(m_self);
    return both;
}

void NeighbourPort::take(const Visitor& visit)
{
    const std::set<NeighbourId> present = hasMatchedAnew() ? matched() : m_present;
    for (const NeighbourId id : m_present)
    {
        if (!present.contains(id))
        {
            visit.onNeighbour(id, false);
        }
    }
    for (const NeighbourId id : present)
    {
        if (!m_present.contains(id))
        {
            visit.onNeighbour(id, true);
        }
    }
    m_present = present;
    takeAll<BusRows>(m_rowsReader.get(), [&](const BusRows& bus) { visit.onRows(fromBus(bus)); });
    takeAll<BusStatus>(m_statusReader.get(), [&](const BusStatus& bus) {
        if (m_early.size() < Neighbours::most || m_early.contains(bus.bridge))
        {
            m_early[bus.bridge] = fromBus(bus);
        }
    });
    for (auto early = m_early.begin(); early != m_early.end();)
    {
        if (m_present.contains(early->first))
        {
            visit.onStatus(early->first, std::move(early->second));
            early = m_early.erase(early);
        }
        else
        {
            ++early;
        }
    }
}

dds_return_t NeighbourPort::tell(const Status& status)
{
    std::vector<std::uint64_t> digests = status.digests;
    std::vector<std::uint64_t> met = status.met;
    std::vector<BusWant> wants;
    for (const Status::Want& want : status.wants)
    {
        wants.push_back({want.of, want.bucket});
    }
    BusStatus bus{};
    bus.bridge = m_self;
    bus.digests = view<decltype(bus.digests)>(digests);
    bus.met = view<decltype(bus.met)>(met);
    bus.wants = view<decltype(bus.wants)>(wants);
    const dds_return_t code = dds_write(m_statusWriter.get(), &bus);
    dds_write_flush(m_statusWriter.get());
    return code;
}

dds_return_t NeighbourPort::handOver(const BucketRows& rows)
{
    std::vector<BusRow> all;
    for (const BucketRows::Row& row : rows.rows)
    {
        // The library reads the text only.
        BusRow& bus = all.emplace_back();
        bus.instance = row.instance;
        bus.written = row.decision.written;
        static_cast<void>(row.decision.content.copy(bus.content, sizeof(bus.content) - 1));
    }
    BusRows bus{};
    bus.bridge = m_self;
    bus.bucket = rows.bucket;
    bus.digest = rows.digest;
    bus.rows = view<decltype(bus.rows)>(all);
    const dds_return_t code = dds_write(m_rowsWriter.get(), &bus);
    dds_write_flush(m_rowsWriter.get());
    return code;
}

} // namespace com::tallowcrest::durability
