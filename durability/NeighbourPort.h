#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "dds/pub/DataWriter.hpp"
#include "dds/sub/DataReader.hpp"
#include "dds/topic/Topic.hpp"
#include "durability/Exchange.h"
#include "durability/Neighbours.h"
#include "durability/StoredRow.h"
#include "runtime/util/WakeEvent.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace com::tallowcrest::durability
{

/// The name in which each writer of statuses speaks: the first that it has used. A bridge has one name; whoever uses
/// more would have the reader keep an instance for each. Thread-safe.
class NamesInUse
{
public:
    /// Whether `writer` may use `name`.
    bool admit(const dds::core::InstanceHandle& writer, NeighbourId name)
    {
        const std::lock_guard lock(m_mutex);
        return m_names.try_emplace(writer.value(), name).first->second == name;
    }
    /// Forgets all writers that are not among `present`.
    void keepOnly(const std::map<std::uint64_t, NeighbourId>& present)
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_names, [&](const auto& one) { return !present.contains(one.first); });
    }

private:
    std::mutex m_mutex;
    std::map<std::uint64_t, NeighbourId> m_names; ///< by the writer's handle
};

/// How the bridges of a partition talk about one durable topic `T`: on `T_durable`, where each keeps one status, and on
/// `T_durable_rows`, where decisions are handed over. Bound to the recorder's thread.
class NeighbourPort
{
public:
    /// While there are more endpoints than neighbours that can be, they are looked at no more often than this.
    static constexpr std::chrono::milliseconds crowdedLook{250};

    /// Of too many neighbours those that write `bridgesWrite` are preferred. `wake` is signalled when something has
    /// come. Throws dds::core::Error or one of its family, as all that asks the bus.
    NeighbourPort(dds::domain::DomainParticipant participant, const ChannelName& channel, std::string bridgesWrite,
                  util::WakeEvent& wake);

    struct Visitor
    {
        std::function<void(NeighbourId, bool isThere)> onNeighbour;
        std::function<void(NeighbourId, Status)> onStatus;
        std::function<void(const BucketRows&)> onRows;
    };
    /// Who came and went, and what they said, since the last call. A neighbour has come when both sides can hear each
    /// other: what it publishes on the topic itself from then on arrives here. At most `Neighbours::most` are there at
    /// a time.
    void take(const Visitor& visit);
    /// How many there were at the last look, those beyond that number too.
    std::size_t crowd() const { return m_crowd; }

    /// What could not be sent is not repeated here.
    void tell(const Status& status);
    void handOver(const BucketRows& rows);

private:
    using Clock = std::chrono::steady_clock;
    using Endpoints = std::map<std::uint64_t, NeighbourId>; ///< by their handle

    /// Signals what wakes the recorder, for the reader and the writer of one topic.
    template <typename T>
    class Waker final : public dds::sub::NoOpDataReaderListener<T>, public dds::pub::DataWriterListener<T>
    {
    public:
        explicit Waker(util::WakeEvent& wake) : m_wake(wake) {}

    private:
        void on_data_available(dds::sub::DataReader<T>&) override { m_wake.signal(); }
        void on_subscription_matched(dds::sub::DataReader<T>&,
                                     const dds::core::status::SubscriptionMatchedStatus&) override
        {
            m_wake.signal();
        }
        void on_publication_matched(dds::pub::DataWriter<T>&,
                                    const dds::core::status::PublicationMatchedStatus&) override
        {
            m_wake.signal();
        }

        util::WakeEvent& m_wake;
    };

    void look(const Visitor& visit);
    std::set<NeighbourId> matched();
    bool hasMatchedAnew();
    const std::set<NeighbourId>& bridges();
    std::optional<NeighbourId> writerOf(const dds::core::InstanceHandle& handle) const;
    void keepEarly(NeighbourId id, Status status);

    const dds::domain::DomainParticipant m_participant;
    const std::string m_bridgesWrite;
    const NeighbourId m_self;
    NamesInUse m_names; ///< before the topic, which asks it
    const dds::topic::Topic<StatusMessage> m_statusTopic;
    const dds::topic::Topic<RowsMessage> m_rowsTopic;
    const dds::pub::Publisher m_publisher;
    const dds::sub::Subscriber m_subscriber;
    Waker<RowsMessage> m_rowsWaker; ///< before what calls it
    Waker<StatusMessage> m_statusWaker;
    dds::sub::DataReader<RowsMessage> m_rowsReader; ///< before the status: who has met us can be heard
    dds::pub::DataWriter<RowsMessage> m_rowsWriter;
    dds::sub::DataReader<StatusMessage> m_statusReader;
    dds::pub::DataWriter<StatusMessage> m_statusWriter;
    /// How many writers and readers came in all, and how many there are.
    std::array<std::int32_t, 4> m_counts{};
    Endpoints m_writers; ///< of statuses, as of the last look
    std::size_t m_crowd = 0;
    bool m_isLong = false; ///< the last look was
    bool m_isLookDue = false;
    Clock::time_point m_crowdDue{};
    std::set<NeighbourId> m_bridges; ///< asked for when there is a crowd
    Clock::time_point m_bridgesDue{};
    std::set<NeighbourId> m_present;
    std::map<NeighbourId, Status> m_early; ///< what was said by who cannot hear us yet
};

} // namespace com::tallowcrest::durability
