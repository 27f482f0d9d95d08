#pragma once

#include "tests/e2e/allocations/ThreadAllocations.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <thread>

/// What this process has in use.
struct Memory
{
    long blocks = 0; ///< from operator new, not returned
    long bytes = 0;  ///< of the whole heap, the DDS library's too

    static Memory now()
    {
        return {static_cast<long>(threadAllocations::numLive()), static_cast<long>(::mallinfo2().uordblks)};
    }
    Memory smaller(const Memory& other) const { return {std::min(blocks, other.blocks), std::min(bytes, other.bytes)}; }
    Memory operator-(const Memory& other) const { return {blocks - other.blocks, bytes - other.bytes}; }
};

/// The smallest for a while: something is always under way, and a writer that has been replaced takes a second to go.
inline Memory memoryAtRest()
{
    Memory smallest = Memory::now();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        smallest = smallest.smaller(Memory::now());
    }
    return smallest;
}

template <typename Work>
Memory growth(Work&& work)
{
    const Memory before = memoryAtRest();
    work();
    return memoryAtRest() - before;
}
