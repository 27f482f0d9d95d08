#pragma once

#include "durability/BusEntity.h"

#include <dds/dds.h>

#include <chrono>

namespace com::tallowcrest::durability
{

/// Sees participants come. Bound to the recorder's thread.
class ParticipantWatch
{
public:
    using Clock = std::chrono::steady_clock;

    /// `started` is when the own participant was made. Throws BusError.
    ParticipantWatch(dds_entity_t participant, Clock::time_point started);

    /// When somebody was discovered last, the own participant included.
    Clock::time_point lastNewcomer();

private:
    Clock::time_point m_newcomer;
    BusEntity m_reader;
};

} // namespace com::tallowcrest::durability
