#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace com::tallowcrest::util
{

/// Holds the one object of its kind that the process uses at the moment, or none. Thread-safe. What was in the slot is
/// let go outside the lock: its end may join a thread that wants the slot, or print.
template <typename T>
class Slot
{
public:
    Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    /// Empty when the slot is.
    std::shared_ptr<T> get() const
    {
        const std::lock_guard lock(m_mutex);
        return m_object;
    }
    /// An empty pointer empties the slot.
    void set(std::shared_ptr<T> object)
    {
        const std::lock_guard lock(m_mutex);
        m_object.swap(object); // a parameter goes after the lock
    }
    void reset() { set(nullptr); }
    /// Puts in what `make` returns, unless there is something already. No other thread gets between the two.
    template <typename Make>
    void setIfEmpty(Make&& make)
    {
        const std::lock_guard lock(m_mutex);
        if (m_object == nullptr)
        {
            m_object = std::forward<Make>(make)();
        }
    }

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<T> m_object;
};

/// The process's slot for objects of type T. Made at first use and never destroyed: threads may still look into it, and
/// objects with static storage still print, while the process ends.
template <typename T>
Slot<T>& processSlot()
{
    static Slot<T>& slot = *new Slot<T>;
    return slot;
}

} // namespace com::tallowcrest::util
