#pragma once

#include "durability/BusEntity.h"
#include "durability/Neighbours.h"
#include "durability/StoredRow.h"
#include "runtime/util/WakeEvent.h"

#include <dds/dds.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>

namespace com::tallowcrest::durability
{

/// How the bridges of a partition talk about one durable topic `T`: on `T_durable`, where each keeps one status, and on
/// `T_durable_rows`, where decisions are handed over. Bound to the recorder's thread.
class NeighbourPort
{
public:
    /// `wake` is signalled when something has come. Throws BusError.
    NeighbourPort(dds_entity_t participant, const ChannelName& channel, util::WakeEvent& wake);

    /// This life of a participant, as its neighbours see it. Throws BusError.
    static NeighbourId nameOf(dds_entity_t participant);

    struct Visitor
    {
        std::function<void(NeighbourId, bool isThere)> onNeighbour;
        std::function<void(NeighbourId, Status)> onStatus;
        std::function<void(const BucketRows&)> onRows;
    };
    /// Who came and went, and what they said, since the last call. A neighbour has come when both sides can hear each
    /// other: what it publishes on the topic itself from then on arrives here.
    void take(const Visitor& visit);

    /// Codes of the DDS library; what could not be sent is not repeated here.
    dds_return_t tell(const Status& status);
    dds_return_t handOver(const BucketRows& rows);

private:
    std::set<NeighbourId> matched() const;
    bool hasMatchedAnew();

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
    std::set<NeighbourId> m_present;
    std::map<NeighbourId, Status> m_early; ///< what was said by who cannot hear us yet
};

} // namespace com::tallowcrest::durability
