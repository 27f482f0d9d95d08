#pragma once

#include "runtime/util/MemPool.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

namespace com::tallowcrest::util
{

/// Puts a class into a memory pool of its own:
///
///     class TakeCmd final : public Pooled<TakeCmd, CmdBase>
///     {
///     public:
///         static constexpr const char* poolName = "TakeCmd";
///         static constexpr std::int32_t poolGrowCount = 5; // only where 20 is not wanted
///
/// `Self` must declare `poolName`. The pool is created during static initialisation, as it is used by the class's own
/// `new` and `delete`, and is never destroyed. When the pool has no buffer to give, or a class derived from `Self` is
/// larger than `Self`, the object comes from the heap instead, so that `new` fails only when the machine has no memory
/// at all (std::bad_alloc). Thread-safe. std::make_shared places objects itself and bypasses the pool.
template <typename Self, typename Base>
class Pooled : public Base
{
public:
    using Base::Base;

    static void* operator new(std::size_t size)
    {
        void* const memory = allocate(size);
        if (memory == nullptr)
        {
            throw std::bad_alloc();
        }
        return memory;
    }
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }

    static void operator delete(void* object) noexcept
    {
        if (object == nullptr)
        {
            return;
        }
        auto* const bytes = static_cast<std::byte*>(object);
        std::uint32_t marker = 0;
        std::memcpy(&marker, bytes - sizeof(marker), sizeof(marker));
        if (marker == heapMarker)
        {
            std::free(bytes - MemPool::alignment);
            return;
        }
        static_cast<void>(&enrolledPool); // named here, so that every class with a pooled `delete` has its pool made
        pool().Put(object);
    }
    static void operator delete(void* object, const std::nothrow_t&) noexcept { Pooled::operator delete(object); }

    static MemPool& pool()
    {
        // Never destroyed: objects with static storage may outlive any moment that we could choose.
        static MemPool& thePool = *new MemPool(Self::poolName, sizeof(Self), growCount());
        return thePool;
    }

private:
    /// Stands where a pool's guard word would stand, before an object that lies on the heap.
    static constexpr std::uint32_t heapMarker = 0x70616548;

    static void* allocate(std::size_t size)
    {
        static_assert(alignof(Self) <= MemPool::alignment, "a pool cannot align this class");
        if (size <= sizeof(Self))
        {
            if (void* const buffer = pool().Get())
            {
                return buffer;
            }
        }
        auto* const block = static_cast<std::byte*>(std::malloc(MemPool::alignment + size));
        if (block == nullptr)
        {
            return nullptr;
        }
        std::byte* const object = block + MemPool::alignment;
        std::memcpy(object - sizeof(heapMarker), &heapMarker, sizeof(heapMarker));
        return object;
    }

    static constexpr std::int32_t growCount()
    {
        if constexpr (requires { Self::poolGrowCount; })
        {
            return Self::poolGrowCount;
        }
        else
        {
            return MemPool::defaultGrowCount;
        }
    }

    /// Creates the pool during static initialisation, in every program that contains the class's virtual destructor.
    inline static MemPool& enrolledPool = pool();
};

} // namespace com::tallowcrest::util
