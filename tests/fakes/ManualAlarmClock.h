#pragma once

#include "runtime/apartment/AlarmClock.h"

#include <algorithm>
#include <chrono>

/// Time passes when the test says so, and alarms ring on its thread.
class ManualAlarmClock final : public com::tallowcrest::apartment::AlarmClock
{
public:
    Clock::time_point now() const override { return m_now; }

    /// Rings whatever becomes due on the way, at its time.
    void pass(Clock::duration time)
    {
        const Clock::time_point end = m_now + time;
        while (true)
        {
            const auto next = nextDue();
            if (!next || *next > end)
            {
                break;
            }
            m_now = std::max(m_now, *next);
            if (const auto* const alarm = takeDue())
            {
                alarm->call()();
            }
        }
        m_now = end;
    }

private:
    Clock::time_point m_now{std::chrono::hours(1)};
};
