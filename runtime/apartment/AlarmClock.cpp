#include "runtime/apartment/AlarmClock.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::apartment
{

Alarm* AlarmClock::takeDue()
{
    if (!m_nextDue || now() < *m_nextDue)
    {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    const auto isSooner = [](const Alarm* left, const Alarm* right) {
        return left->m_due && (!right->m_due || *left->m_due < *right->m_due);
    };
    const auto first = std::min_element(m_alarms.begin(), m_alarms.end(), isSooner);
    if (first == m_alarms.end())
    {
        m_nextDue.reset();
        return nullptr;
    }
    m_nextDue = (*first)->m_due; // of which there may be more
    if (!m_nextDue || now() < *m_nextDue)
    {
        return nullptr;
    }
    (*first)->clear();
    return *first;
}

Alarm::Alarm(std::shared_ptr<AlarmClock> clock, std::function<void()> call)
    : m_clock(std::move(clock)), m_call(std::move(call))
{
    const std::lock_guard lock(m_clock->m_mutex);
    m_clock->m_alarms.push_back(this);
}

void Alarm::set(AlarmClock::Clock::time_point due) noexcept
{
    m_due = due;
    if (!m_clock->m_nextDue || due < *m_clock->m_nextDue)
    {
        m_clock->m_nextDue = due;
    }
}

Alarm::~Alarm()
{
    const std::lock_guard lock(m_clock->m_mutex);
    std::erase(m_clock->m_alarms, this);
}

} // namespace com::tallowcrest::apartment
