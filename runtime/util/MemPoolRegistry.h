#pragma once

#include <mutex>

namespace com::tallowcrest::util
{

class MemPool;

/// The process-wide list of all memory pools, newest first. It owns no pool. Thread-safe.
class MemPoolRegistry
{
public:
    /// Made at first use and never destroyed, so that pools with static storage may come and go at any time.
    static MemPoolRegistry& instance();

    /// Puts `pool` at the head. Called by the pool itself.
    void add(MemPool& pool);
    /// Takes `pool` out; nothing when it is not there. Called by the pool itself.
    void remove(MemPool& pool);
    /// Prints the pool table to the console. Holds up no `Get` or `Put`. Defined in `runtime/misc`, where the console
    /// is.
    void show();

    MemPoolRegistry(const MemPoolRegistry&) = delete;
    MemPoolRegistry& operator=(const MemPoolRegistry&) = delete;

private:
    /// One pool in the list.
    class MemPoolListElement
    {
    public:
        MemPoolListElement(MemPoolListElement* next, MemPool& pool) : m_next(next), m_pool(&pool) {}
        virtual ~MemPoolListElement() = default;
        MemPoolListElement(const MemPoolListElement&) = delete;
        MemPoolListElement& operator=(const MemPoolListElement&) = delete;

        /// The link itself, so that the list can be changed in place.
        MemPoolListElement*& next() { return m_next; }
        MemPool& pool() const { return *m_pool; }

    private:
        MemPoolListElement* m_next;
        MemPool* m_pool;
    };

    MemPoolRegistry() = default;
    ~MemPoolRegistry() = default;

    std::mutex m_mutex;
    MemPoolListElement* m_head = nullptr;
};

} // namespace com::tallowcrest::util
