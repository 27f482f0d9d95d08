#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "dds/sub/BuiltinReader.hpp"

#include <chrono>

namespace com::tallowcrest::durability
{

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
