#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace com::tallowcrest::util
{

/// A fixed-size buffer allocator: free list, growth in blocks, and a 4-byte guard word before every buffer that catches
/// double returns and stray pointers. Thread-safe. Buffers go back to the system only when the pool is destroyed.
/// Every buffer handed out is aligned to 8 bytes. Misuse is reported on standard output and otherwise ignored.
///
/// A block lies in memory so that guard words sit 4 bytes before a multiple of 8:
///
///     | 4 unused | guard | buffer ... | guard | buffer ... | guard | buffer ...
///     8n         8n + 4  8n + 8       <-- stride -------->
class MemPool
{
public:
    static constexpr std::uint32_t guardFree = 0x1a2b3c4d;
    static constexpr std::uint32_t guardInUse = 0x7f6e5d4c;
    static constexpr std::int32_t defaultGrowCount = 20;
    static constexpr std::size_t alignment = 8;
    static constexpr std::size_t guardSize = sizeof(std::uint32_t);

    /// `bufferSize` in bytes; a `growCount` below 1 becomes 20. Allocates the first block and enrols in the registry.
    MemPool(std::string name, std::size_t bufferSize, std::int32_t growCount = defaultGrowCount);
    /// Leaves the registry and frees every block; buffers still in use become invalid.
    ~MemPool();
    MemPool(const MemPool&) = delete;
    MemPool& operator=(const MemPool&) = delete;

    /// A buffer of at least the buffer size, or null when none can be had.
    void* Get();
    /// Returns a buffer obtained from `Get`.
    void Put(void* buffer);

    /// Forbids or allows further blocks; a new pool may grow. While it may not, `Get` answers null when all are in use.
    void setCanGrow(bool canGrow) { m_canGrow.store(canGrow, std::memory_order_relaxed); }

    /// A row of the pool table. `stride` in bytes per buffer, guard word included.
    struct Snapshot
    {
        std::string name;
        bool canGrow = true;
        std::int32_t blockCount = 0;
        std::int32_t stride = 0;
        std::int32_t total = 0;
        std::int32_t available = 0;
    };
    /// Reads the counters without the pool's mutex, so that a table never waits for a pool; while other threads use the
    /// pool, the numbers of one row may be of slightly different moments.
    Snapshot snapshot() const;

private:
    /// One block from the system, linked to the block obtained before it.
    class MallocedListElement
    {
    public:
        /// Takes over `block`, which came from malloc.
        MallocedListElement(MallocedListElement* next, void* block) : m_next(next), m_block(block) {}
        virtual ~MallocedListElement();
        MallocedListElement(const MallocedListElement&) = delete;
        MallocedListElement& operator=(const MallocedListElement&) = delete;

        MallocedListElement* next() const { return m_next; }

    private:
        MallocedListElement* m_next;
        void* m_block;
    };

    /// Adds one block of `count` buffers; changes nothing when there is no memory. With the mutex held, as are all
    /// below.
    void grow(std::int32_t count);
    void pushFree(std::byte* buffer);
    void freeAll();
    void reportPut(const char* text) const;

    const std::string m_name;
    std::mutex m_mutex;
    std::atomic<bool> m_canGrow{true};
    const std::int32_t m_growCount;
    const std::int32_t m_stride;
    std::atomic<std::int32_t> m_available{0};
    /// The free list, latest returned last. It lies beside the blocks and has room for every buffer, because a pointer
    /// does not fit behind the guard word of the smallest buffers; returning a buffer never allocates.
    std::vector<std::byte*> m_freeList;
    std::atomic<std::int32_t> m_blockCount{0};
    MallocedListElement* m_blocks = nullptr;
};

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
