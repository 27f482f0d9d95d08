#pragma once

#include "durability/Neighbours.h"

#include <dds/dds.h>

#include <set>
#include <string>

namespace com::tallowcrest::durability
{

// Participants, as their neighbours see them.

/// This life of a participant. Throws BusError.
NeighbourId nameOf(dds_entity_t participant);

/// The participant that a participant or one of its endpoints belongs to: the same wherever it is seen.
NeighbourId nameOfGuid(const dds_guid_t& guid);

/// All participants known here that have a writer of `topic`, in whatever partition. Throws BusError.
std::set<NeighbourId> participantsThatWrite(dds_entity_t participant, const std::string& topic);

} // namespace com::tallowcrest::durability
