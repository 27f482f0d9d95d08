#include "durability/NeighbourPort.h"

#include "dds/detail/GatheredWrites.hpp"
#include "durability/ParticipantName.h"

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

/// Calls `visit` with each valid sample of type T and its writer.
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
                visit(*static_cast<const T*>(samples[i]), infos[i].publication_handle);
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

std::optional<NeighbourId> nameAndFree(dds_builtintopic_endpoint_t* endpoint)
{
    if (endpoint == nullptr)
    {
        return std::nullopt; // gone since
    }
    const NeighbourId name = nameOfGuid(endpoint->participant_key);
    dds_builtintopic_free_endpoint(endpoint);
    return name;
}

/// Whose endpoints they are that `handlesOf` fills in, however many.
std::map<dds_instance_handle_t, NeighbourId> namesOf(const auto& handlesOf, const auto& endpointOf)
{
    std::vector<dds_instance_handle_t> handles(Neighbours::most);
    std::size_t count = 0;
    while ((count = static_cast<std::size_t>(std::max(handlesOf(handles.data(), handles.size()), 0))) > handles.size())
    {
        handles.resize(count + Neighbours::most);
    }
    std::map<dds_instance_handle_t, NeighbourId> names;
    for (std::size_t i = 0; i < count; ++i)
    {
        if (const auto name = nameAndFree(endpointOf(handles[i])))
        {
            names[handles[i]] = *name;
        }
    }
    return names;
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

NeighbourPort::NeighbourPort(dds_entity_t participant, const ChannelName& channel, std::string bridgesWrite,
                             util::WakeEvent& wake)
    : m_participant(participant), m_bridgesWrite(std::move(bridgesWrite)), m_self(nameOf(participant)),
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

/// Those whose writers are known here and whose readers are.
std::set<NeighbourId> NeighbourPort::matched()
{
    m_writers =
        namesOf([this](dds_instance_handle_t* handles,
                       std::size_t size) { return dds_get_matched_publications(m_statusReader.get(), handles, size); },
                [this](dds_instance_handle_t handle) {
                    return dds_get_matched_publication_data(m_statusReader.get(), handle);
                });
    const Endpoints readers =
        namesOf([this](dds_instance_handle_t* handles,
                       std::size_t size) { return dds_get_matched_subscriptions(m_statusWriter.get(), handles, size); },
                [this](dds_instance_handle_t handle) {
                    return dds_get_matched_subscription_data(m_statusWriter.get(), handle);
                });
    std::set<NeighbourId> heard;
    for (const auto& [handle, name] : readers)
    {
        heard.insert(name);
    }
    std::set<NeighbourId> both;
    for (const auto& [handle, name] : m_writers)
    {
        if (heard.contains(name) && name != m_self)
        {
            both.insert(name);
        }
    }
    m_crowd = both.size();
    m_isLong = std::max(m_writers.size(), readers.size()) > Neighbours::most;
    return both.size() > Neighbours::most ? chooseNeighbours(both, bridges(), m_present) : both;
}

const std::set<NeighbourId>& NeighbourPort::bridges()
{
    if (const auto now = Clock::now(); now >= m_bridgesDue)
    {
        m_bridgesDue = now + crowdedLook;
        try
        {
            m_bridges = participantsThatWrite(m_participant, m_bridgesWrite);
        }
        catch (const BusError&)
        {
            // What was known of them still holds, and they are asked for at the next look.
        }
    }
    return m_bridges;
}

void NeighbourPort::look(const Visitor& visit)
{
    m_isLookDue = hasMatchedAnew() || m_isLookDue || m_crowd > Neighbours::most;
    if (!m_isLookDue || (m_isLong && Clock::now() < m_crowdDue))
    {
        return;
    }
    m_isLookDue = false;
    m_crowdDue = Clock::now() + crowdedLook;
    const std::set<NeighbourId> present = matched();
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
}

/// Whose writer it is; nobody's when that has gone.
std::optional<NeighbourId> NeighbourPort::writerOf(dds_instance_handle_t handle) const
{
    if (const auto found = m_writers.find(handle); found != m_writers.end())
    {
        return found->second;
    }
    return nameAndFree(dds_get_matched_publication_data(m_statusReader.get(), handle));
}

/// Keeps what was said by who cannot hear us yet.
void NeighbourPort::keepEarly(NeighbourId id, Status status)
{
    if (m_early.size() >= Neighbours::most && !m_early.contains(id))
    {
        const auto stranger = std::find_if(m_early.begin(), m_early.end(),
                                           [this](const auto& one) { return !bridges().contains(one.first); });
        if (stranger == m_early.end() || !bridges().contains(id))
        {
            return;
        }
        m_early.erase(stranger);
    }
    m_early[id] = std::move(status);
}

void NeighbourPort::take(const Visitor& visit)
{
    look(visit);
    takeAll<BusRows>(m_rowsReader.get(),
                     [&](const BusRows& bus, dds_instance_handle_t) { visit.onRows(fromBus(bus)); });
    takeAll<BusStatus>(m_statusReader.get(), [&](const BusStatus& bus, dds_instance_handle_t writer) {
        if (writerOf(writer) == bus.bridge) // nobody speaks for another
        {
            keepEarly(bus.bridge, fromBus(bus));
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
