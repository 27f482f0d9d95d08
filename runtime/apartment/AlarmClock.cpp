#include "runtime/apartment/AlarmClock.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::apartment
{

std::optional<AlarmClock::Clock::time_point> AlarmClock::nextDue() const
{
    const std::lock_guard lock(m_mutex);
    std::optional<Clock::time_point> next;
    for (const Alarm* const alarm : m_alarms)
    {
        if (alarm->m_due && (!next || *alarm->m_due < *next))
        {
            next = alarm->m_due;
        }
    }
    return next;
}

Alarm* AlarmClock::takeDue()
{
    const auto next = nextDue();
    if (!next || now() < *next)
    {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    const auto due = std::find_if(m_alarms.begin(), m_alarms.end(), [&](Alarm* alarm) { return alarm->m_due == next; });
    if (due == m_alarms.end())
    {
        return nullptr;
    }
    (*due)->clear();
    return *due;
}

Alarm::Alarm(std::shared_ptr<AlarmClock> clock, std::function<void()> call)
    : m_clock(std::move(clock)), m_call(std::move(call))
{
    const std::lock_guard lock(m_clock->m_mutex);
    m_clock->m_alarms.push_back(this);
}

Alarm::~Alarm()
{
    const std::lock_guard lock(m_clock->m_mutex);
    std::erase(m_clock->m_alarms, this);
}

} // namespace com::tallowcrest::apartment
