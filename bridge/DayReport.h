#pragma once

#include "runtime/apartment/AlarmClock.h"
#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <cstdint>
#include <memory>

/// Logs once a day what the day has brought, so that the log alone tells how a bridge was used. Counted from the start,
/// so that no clock that is set moves it. Made on the main thread; its alarm rings on the apartment; it ends when that
/// has stopped.
class DayReport
{
public:
    static constexpr std::chrono::hours day{24};

    /// Throws std::logic_error when nothing counts what it tells.
    DayReport(com::tallowcrest::apartment::SendDoItEvent& apartment,
              std::shared_ptr<com::tallowcrest::apartment::AlarmClock> clock);
    DayReport(const DayReport&) = delete;
    DayReport& operator=(const DayReport&) = delete;

private:
    /// Since the start of the process.
    struct Counts
    {
        Counts();

        std::uint64_t takes;
        std::uint64_t refusals;
        std::uint64_t connections;
        std::uint64_t joins;
        std::uint64_t drops;
    };

    void tell();

    Counts m_last;
    com::tallowcrest::apartment::Alarm m_alarm;
};
