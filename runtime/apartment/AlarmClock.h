#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace com::tallowcrest::apartment
{

class Alarm;

/// Knows which alarms of an apartment are due. Each apartment has one and looks at it between two events. Alarms are
/// made and end on any thread; the rest belongs to the apartment's.
class AlarmClock
{
public:
    using Clock = std::chrono::steady_clock;

    AlarmClock() = default;
    virtual ~AlarmClock() = default;
    AlarmClock(const AlarmClock&) = delete;
    AlarmClock& operator=(const AlarmClock&) = delete;

    /// Replaced by tests.
    virtual Clock::time_point now() const { return Clock::now(); }
    /// What the machine's clock shows when this one shows `due`.
    virtual Clock::time_point wakeUpTime(Clock::time_point due) const { return due; }

    /// When to look at them again, which is when the next one is due, or before that when one has been cleared or put
    /// off; empty when none is set. Costs nothing: asked between any two events.
    std::optional<Clock::time_point> nextDue() const { return m_nextDue; }
    /// The one that has been due for the longest time, which is not set any more; null when none is due.
    Alarm* takeDue();

private:
    friend class Alarm;

    std::mutex m_mutex; ///< guards the list
    std::vector<Alarm*> m_alarms;
    std::optional<Clock::time_point> m_nextDue; ///< not after any that is set
};

/// One call on an apartment at a time that can be set. Owned by whom it calls. Made on any thread; it ends on the
/// apartment or when that has stopped, but not in its own call; the rest belongs to the apartment's thread. Setting it
/// needs no memory.
class Alarm
{
public:
    Alarm(std::shared_ptr<AlarmClock> clock, std::function<void()> call);
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    AlarmClock::Clock::time_point now() const { return m_clock->now(); }
    /// Calls once, at `due` or as soon as the apartment can, and not at a time that was set before.
    void set(AlarmClock::Clock::time_point due) noexcept;
    void clear() noexcept { m_due.reset(); }

    /// What is to be called, by the apartment. An exception of it goes there.
    const std::function<void()>& call() const { return m_call; }

private:
    friend class AlarmClock;

    const std::shared_ptr<AlarmClock> m_clock;
    const std::function<void()> m_call;
    std::optional<AlarmClock::Clock::time_point> m_due;
};

} // namespace com::tallowcrest::apartment
