#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace com::tallowcrest::durability
{

/// Wakes one waiting thread. A signal that comes while nobody waits ends the next wait at once. Thread-safe.
class WakeUp
{
public:
    using Clock = std::chrono::steady_clock;

    void signal()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_signalled = true;
        }
        m_condition.notify_one();
    }
    /// Until a signal or `deadline`.
    void waitUntil(Clock::time_point deadline)
    {
        std::unique_lock lock(m_mutex);
        m_condition.wait_until(lock, deadline, [this] { return m_signalled; });
        m_signalled = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_signalled = false;
};

} // namespace com::tallowcrest::durability
