#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "dds/topic/BuiltinTopic.hpp"
#include "durability/Neighbours.h"

#include <set>
#include <string>

namespace com::tallowcrest::durability
{

// Participants, as their neighbours see them.

/// This life of a participant, by the key that it or one of its endpoints tells: the same wherever it is seen.
NeighbourId nameOf(const dds::topic::BuiltinTopicKey& participant);

/// All participants known here that have a writer of `topic`, in whatever partition. Throws dds::core::Error.
std::set<NeighbourId> participantsThatWrite(const dds::domain::DomainParticipant& participant,
                                            const std::string& topic);

} // namespace com::tallowcrest::durability
