#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace com::tallowcrest::util
{

/// A double-ended queue of values, first in first out. Takes memory only when it has to grow, unlike std::deque, which
/// takes and returns a block after every few entries that pass through it. Not thread-safe.
template <typename T>
class RingQueue
{
public:
    explicit RingQueue(std::size_t initialCapacity = 64) : m_slots(initialCapacity > 0 ? initialCapacity : 1) {}

    bool empty() const { return m_size == 0; }
    std::size_t size() const { return m_size; }

    /// Appends. When it throws (no memory to grow), the queue is as it was.
    void push_back(T value)
    {
        if (m_size == m_slots.size())
        {
            grow();
        }
        m_slots[(m_begin + m_size) % m_slots.size()] = std::move(value);
        ++m_size;
    }

    /// The queue must not be empty for these two.
    T& front() { return m_slots[m_begin]; }
    void pop_front()
    {
        m_slots[m_begin] = T();
        m_begin = (m_begin + 1) % m_slots.size();
        --m_size;
    }

private:
    void grow()
    {
        std::vector<T> larger(2 * m_slots.size());
        for (std::size_t i = 0; i < m_size; ++i)
        {
            larger[i] = std::move(m_slots[(m_begin + i) % m_slots.size()]);
        }
        m_slots.swap(larger);
        m_begin = 0;
    }

    std::vector<T> m_slots;
    std::size_t m_begin = 0;
    std::size_t m_size = 0;
};

} // namespace com::tallowcrest::util
