#include "durability/NeighbourPort.h"

#include "dds/core/Exception.hpp"
#include "durability/Participants.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

namespace
{

using dds::core::policy::Durability;
using dds::core::policy::History;
using dds::core::policy::Partition;
using dds::core::status::StatusMask;

/// Of what is kept of a topic.
struct Keeping
{
    Durability durability;
    History history;
};

const Keeping statusKept{Durability::TransientLocal(), History::KeepLast(1)};
const Keeping rowsKept{Durability(), History::KeepAll()};

template <typename Qos>
Qos with(const Keeping& keeping)
{
    Qos qos;
    qos << keeping.durability << dds::core::policy::Reliability::Reliable() << keeping.history;
    return qos;
}

/// Of publishers and subscribers.
template <typename Qos>
Qos in(const std::string& partition)
{
    Qos qos;
    qos << Partition(partition);
    return qos;
}

template <typename T>
dds::sub::DataReader<T> makeReader(const dds::sub::Subscriber& subscriber, const dds::topic::Topic<T>& topic,
                                   const Keeping& keeping, dds::sub::DataReaderListener<T>& listener)
{
    auto qos = with<dds::sub::qos::DataReaderQos>(keeping);
    qos << dds::core::policy::IgnoreLocal(true);
    dds::sub::DataReader<T> reader(subscriber, topic, qos);
    reader.listener(&listener, StatusMask::data_available() | StatusMask::subscription_matched());
    return reader;
}

template <typename T>
dds::pub::DataWriter<T> makeWriter(const dds::pub::Publisher& publisher, const dds::topic::Topic<T>& topic,
                                   const Keeping& keeping, dds::pub::DataWriterListener<T>& listener)
{
    dds::pub::DataWriter<T> writer(publisher, topic, with<dds::pub::qos::DataWriterQos>(keeping));
    writer.listener(&listener, StatusMask::publication_matched());
    return writer;
}

} // namespace

NeighbourPort::NeighbourPort(dds::domain::DomainParticipant participant, const ChannelName& channel,
                             std::string bridgesWrite, util::WakeEvent& wake)
    : m_participant(std::move(participant)), m_bridgesWrite(std::move(bridgesWrite)),
      m_self(nameOf(m_participant.key())),
      m_statusTopic(m_participant, channel.topic + "_durable", m_participant.default_topic_qos(),
                    [this](const StatusMessage& message, const dds::core::InstanceHandle& writer) {
                        return m_names.admit(writer, message.bridge);
                    }),
      m_rowsTopic(m_participant, channel.topic + "_durable_rows", m_participant.default_topic_qos()),
      m_publisher(m_participant, in<dds::pub::qos::PublisherQos>(channel.partition)),
      m_subscriber(m_participant, in<dds::sub::qos::SubscriberQos>(channel.partition)), m_rowsWaker(wake),
      m_statusWaker(wake), m_rowsReader(makeReader(m_subscriber, m_rowsTopic, rowsKept, m_rowsWaker)),
      m_rowsWriter(makeWriter(m_publisher, m_rowsTopic, rowsKept, m_rowsWaker)),
      m_statusReader(makeReader(m_subscriber, m_statusTopic, statusKept, m_statusWaker)),
      m_statusWriter(makeWriter(m_publisher, m_statusTopic, statusKept, m_statusWaker))
{}

bool NeighbourPort::hasMatchedAnew()
{
    const auto writers = m_statusReader.subscription_matched_status();
    const auto readers = m_statusWriter.publication_matched_status();
    // Not the changes that the statuses tell: calling the listener has used them up.
    const std::array counts{writers.total_count(), writers.current_count(), readers.total_count(),
                            readers.current_count()};
    return std::exchange(m_counts, counts) != counts;
}

/// Those whose writers are known here and whose readers are.
std::set<NeighbourId> NeighbourPort::matched()
{
    m_writers.clear();
    std::set<NeighbourId> speakers;
    for (const dds::sub::MatchedPublication& writer : m_statusReader.matched_publications())
    {
        m_writers[writer.handle.value()] = nameOf(writer.participant);
        speakers.insert(nameOf(writer.participant));
    }
    m_names.keepOnly(m_writers);
    std::erase_if(m_early, [&](const auto& one) { return !speakers.contains(one.first); });
    const std::vector<dds::pub::MatchedSubscription> readers = m_statusWriter.matched_subscriptions();
    std::set<NeighbourId> heard;
    for (const dds::pub::MatchedSubscription& reader : readers)
    {
        heard.insert(nameOf(reader.participant));
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
        catch (const dds::core::Exception&)
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
std::optional<NeighbourId> NeighbourPort::writerOf(const dds::core::InstanceHandle& handle) const
{
    if (const auto found = m_writers.find(handle.value()); found != m_writers.end())
    {
        return found->second;
    }
    const auto writer = m_statusReader.matched_publication(handle);
    return writer ? std::optional(nameOf(writer->participant)) : std::nullopt;
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
    for (const auto& sample : m_rowsReader.take())
    {
        if (sample.info().valid())
        {
            visit.onRows(sample.data().rows);
        }
    }
    for (const auto& sample : m_statusReader.take())
    {
        const StatusMessage& message = sample.data();
        if (sample.info().valid() && writerOf(sample.info().publication_handle()) == message.bridge)
        {
            keepEarly(message.bridge, message.status); // nobody speaks for another
        }
    }
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

void NeighbourPort::tell(const Status& status)
{
    m_statusWriter.write({.bridge = m_self, .status = status});
}

void NeighbourPort::handOver(const BucketRows& rows)
{
    m_rowsWriter.write({.bridge = m_self, .rows = rows});
}

} // namespace com::tallowcrest::durability
