#pragma once

#include "durability/BusEntity.h"
#include "durability/Neighbours.h"
#include "durability/StoredRow.h"
#include "runtime/util/WakeEvent.h"

#include <dds/dds.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace com::tallowcrest::durability
{

/// How the bridges of a partition talk about one durable topic `T`: on `T_durable`, where each keeps one status, and on
/// `T_durable_rows`, where decisions are handed over. Bound to the recorder's thread.
class NeighbourPort
{
public:
    /// While there are more endpoints than neighbours that can be, they are looked at no more often than this.
    static constexpr std::chrono::milliseconds crowdedLook{250};

    /// Of too many neighbours those that write `bridgesWrite` are preferred. `wake` is signalled when something has
    /// come. Throws BusError.
    NeighbourPort(dds_entity_t participant, const ChannelName& channel, std::string bridgesWrite,
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

    /// Codes of the DDS library; what could not be sent is not repeated here.
    dds_return_t tell(const Status& status);
    dds_return_t handOver(const BucketRows& rows);

private:
    using Clock = std::chrono::steady_clock;
    using Endpoints = std::map<dds_instance_handle_t, NeighbourId>;

    void look(const Visitor& visit);
    std::set<NeighbourId> matched();
    bool hasMatchedAnew();
    const std::set<NeighbourId>& bridges();
    std::optional<NeighbourId> writerOf(dds_instance_handle_t handle) const;
    void keepEarly(NeighbourId id, Status status);

    const dds_entity_t m_participant;
    const std::string m_bridgesWrite;
    const NeighbourId m_self;
    const BusEntity m_statusTopic;
    const BusEntity m_rowsTopic;
    const BusEntity m_publisher;
    const BusEntity m_subscriber;
    const BusEntity m_rowsReader; ///< before the status: who has met us can be heard
    const BusEntity m_rowsWriter;
    const BusEntity m_statusReader;
    const BusEntity m_statusWriter;
    /// How many writers and readers came in all, and how many there are.
    std::array<std::uint32_t, 4> m_counts{};
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
