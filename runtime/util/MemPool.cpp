#include "runtime/util/MemPool.h"

#include <sanitizer/asan_interface.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace com::tallowcrest::util
{

namespace
{

/// Bytes per buffer with its guard word, rounded up to the alignment; 0 for sizes that no pool can serve.
std::int32_t strideFor(std::size_t bufferSize)
{
    constexpr std::size_t limit = std::numeric_limits<std::int32_t>::max() - MemPool::guardSize - MemPool::alignment;
    if (bufferSize > limit)
    {
        return 0;
    }
    const std::size_t unrounded = bufferSize + MemPool::guardSize;
    return static_cast<std::int32_t>((unrounded + MemPool::alignment - 1) / MemPool::alignment * MemPool::alignment);
}

std::uint32_t readGuard(const std::byte* buffer)
{
    std::uint32_t guard = 0;
    std::memcpy(&guard, buffer - MemPool::guardSize, sizeof(guard));
    return guard;
}

void writeGuard(std::byte* buffer, std::uint32_t guard)
{
    std::memcpy(buffer - MemPool::guardSize, &guard, sizeof(guard));
}

/// With the pool's mutex held, which makes the addition one; readers take whatever they find.
void add(std::atomic<std::int32_t>& counter, std::int32_t change)
{
    counter.store(counter.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
}

} // namespace

MemPool::MallocedListElement::~MallocedListElement()
{
    std::free(m_block);
}

MemPool::MemPool(std::string name, std::size_t bufferSize, std::int32_t growCount)
    : m_name(std::move(name)), m_growCount(growCount < 1 ? defaultGrowCount : growCount),
      m_stride(strideFor(bufferSize))
{
    const std::lock_guard lock(m_mutex);
    grow(m_growCount);
    try
    {
        MemPoolRegistry::instance().add(*this);
    }
    catch (...)
    {
        freeAll();
        throw;
    }
}

MemPool::~MemPool()
{
    MemPoolRegistry::instance().remove(*this);
    const std::lock_guard lock(m_mutex);
    freeAll();
}

void* MemPool::Get()
{
    const std::lock_guard lock(m_mutex);
    if (m_blocks == nullptr)
    {
        grow(m_growCount);
    }
    else if (m_freeList.empty())
    {
        if (!m_canGrow.load(std::memory_order_relaxed))
        {
            return nullptr;
        }
        grow(m_growCount);
    }
    if (m_freeList.empty())
    {
        return nullptr;
    }
    std::byte* const buffer = m_freeList.back();
    if (readGuard(buffer) != guardFree)
    {
        std::printf("MemPool::Get() %s pool buffer state indicates unavailable - probable memory corruption\n",
                    m_name.c_str());
        std::fflush(stdout);
        return nullptr;
    }
    writeGuard(buffer, guardInUse);
    m_freeList.pop_back();
    add(m_available, -1);
    ASAN_UNPOISON_MEMORY_REGION(buffer, static_cast<std::size_t>(m_stride) - guardSize);
    return buffer;
}

void MemPool::Put(void* buffer)
{
    const std::lock_guard lock(m_mutex);
    if (m_blocks == nullptr)
    {
        reportPut("Malloced buffers gone, Put() ignored, probable timing/memory corruption error");
        return;
    }
    auto* const bytes = static_cast<std::byte*>(buffer);
    switch (bytes == nullptr ? 0 : readGuard(bytes))
    {
    case guardInUse:
        pushFree(bytes);
        break;
    case guardFree:
        reportPut("Attempt to return an unallocated pool buffer");
        break;
    default:
        reportPut("Pool buffer state is invalid - probable memory corruptionr");
        break;
    }
}

MemPool::Snapshot MemPool::snapshot() const
{
    Snapshot result;
    result.name = m_name;
    result.canGrow = m_canGrow.load(std::memory_order_relaxed);
    result.blockCount = m_blockCount.load(std::memory_order_relaxed);
    result.stride = m_stride;
    result.total = m_growCount * result.blockCount;
    result.available = m_available.load(std::memory_order_relaxed);
    return result;
}

void MemPool::grow(std::int32_t count)
{
    if (m_stride <= 0 || count <= 0)
    {
        return;
    }
    const auto stride = static_cast<std::size_t>(m_stride);
    const auto buffers = static_cast<std::size_t>(count);
    if (buffers > (static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - alignment) / stride)
    {
        return;
    }
    std::unique_ptr<void, decltype(&std::free)> block(std::malloc(guardSize + stride * buffers), &std::free);
    if (block == nullptr)
    {
        return;
    }
    try
    {
        const std::int32_t total = m_growCount * m_blockCount.load(std::memory_order_relaxed) + count;
        m_freeList.reserve(static_cast<std::size_t>(total));
        m_blocks = new MallocedListElement(m_blocks, block.get());
    }
    catch (const std::bad_alloc&)
    {
        // No memory for the block's bookkeeping is no memory for the block.
        return;
    }
    auto* buffer = static_cast<std::byte*>(block.release()) + alignment;
    add(m_blockCount, 1);
    for (std::int32_t i = 0; i < count; ++i, buffer += stride)
    {
        pushFree(buffer);
    }
}

void MemPool::pushFree(std::byte* buffer)
{
    writeGuard(buffer, guardFree);
    m_freeList.push_back(buffer);
    add(m_available, 1);
    // The address sanitizer shall see the use of a returned buffer; nothing in other builds.
    ASAN_POISON_MEMORY_REGION(buffer, static_cast<std::size_t>(m_stride) - guardSize);
}

void MemPool::freeAll()
{
    m_freeList.clear();
    m_available.store(0, std::memory_order_relaxed);
    while (m_blocks != nullptr)
    {
        const std::unique_ptr<MallocedListElement> newest(m_blocks);
        m_blocks = newest->next();
        add(m_blockCount, -1);
    }
}

void MemPool::reportPut(const char* text) const
{
    std::printf("MemPool::Put()%s %s\n", m_name.c_str(), text);
}

MemPoolRegistry& MemPoolRegistry::instance()
{
    static MemPoolRegistry& registry = *new MemPoolRegistry;
    return registry;
}

void MemPoolRegistry::add(MemPool& pool)
{
    const std::lock_guard lock(m_mutex);
    m_head = new MemPoolListElement(m_head, pool);
}

void MemPoolRegistry::remove(MemPool& pool)
{
    const std::lock_guard lock(m_mutex);
    MemPoolListElement** link = &m_head;
    while (*link != nullptr && &(*link)->pool() != &pool)
    {
        link = &(*link)->next();
    }
    if (*link != nullptr)
    {
        const std::unique_ptr<MemPoolListElement> removed(*link);
        *link = removed->next();
    }
}

} // namespace com::tallowcrest::util
