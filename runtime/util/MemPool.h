#pragma once

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
class MemPool
{
public:
    static constexpr std::uint32_t guardFree = 0x1a2b3c4d;
    static constexpr std::uint32_t guardInUse = 0x7f6e5d4c;
    static constexpr std::int32_t defaultGrowCount = 20;

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
    Snapshot snapshot() const;
};

} // namespace com::tallowcrest::util
