#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "dds/sub/BuiltinReader.hpp"
#include "dds/topic/BuiltinTopic.hpp"
#include "durability/Neighbours.h"

#include <chrono>
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

/// Sees participants come. Bound to the recorder's thread.
class ParticipantWatch
{
public:
    using Clock = std::chrono::steady_clock;

    /// `started` is when the own participant was made. Throws dds::core::Error.
    ParticipantWatch(const dds::domain::DomainParticipant& participant, Clock::time_point started);

    /// When somebody was discovered last, the own participant included.
    Clock::time_point lastNewcomer();

private:
    Clock::time_point m_newcomer;
    dds::sub::BuiltinReader<dds::topic::ParticipantBuiltinTopicData> m_reader;
};

} // namespace com::tallowcrest::durability
