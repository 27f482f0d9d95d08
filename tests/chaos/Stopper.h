#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace chaos
{

/// Tells threads to end, and lets them sleep until then. Thread-safe.
class Stopper
{
public:
    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        m_changed.notify_all();
    }
    bool isStopped() const
    {
        const std::lock_guard lock(m_mutex);
        return m_isStopped;
    }
    /// False when it is time to end.
    bool pause(std::chrono::milliseconds time) const
    {
        std::unique_lock lock(m_mutex);
        return !m_changed.wait_for(lock, time, [this] { return m_isStopped; });
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_isStopped = false;
};

} // namespace chaos
