#pragma once

#include "durability/BusEntity.h"

#include <dds/dds.h>

#include <chrono>

namespace com::tallowcrest::durability
{

/// Judges whether the participants that are there have found each other. Nobody announces that discovery is over, so it
/// counts as settled when the own participant has lived for a while and nobody new has come for a while. Bound to the
/// recorder's thread.
class ParticipantWatch
{
public:
    using Clock = std::chrono::steady_clock;
    /// Others answer a new participant at once; their answers and those to them need this long at most.
    static constexpr std::chrono::milliseconds settlesAfterStart{300};
    /// Writers and readers of a participant follow it within this time.
    static constexpr std::chrono::milliseconds settlesAfterNewcomer{120};
    /// Nobody is waited for longer, however many come.
    static constexpr std::chrono::milliseconds longestWait{350};
    /// Once settled, it counts as settled for so long: the next wait of the same join need not begin anew.
    static constexpr std::chrono::milliseconds staysSettled{500};

    /// `started` is when the participant was made.
    ParticipantWatch(dds_entity_t participant, Clock::time_point started);

    /// For somebody who has been waiting since `since`.
    bool isSettled(Clock::time_point since, Clock::time_point now);

private:
    void look(Clock::time_point now);

    const Clock::time_point m_started;
    Clock::time_point m_newcomer;
    Clock::time_point m_settled;
    BusEntity m_reader;
};

} // namespace com::tallowcrest::durability
