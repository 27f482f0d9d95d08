#include "tests/e2e/allocations/ThreadAllocations.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>

namespace
{

struct Count
{
    std::atomic<pid_t> thread{0};
    std::atomic<std::size_t> calls{0};
};

/// One for each thread that ever called; no test has as many.
std::array<Count, 256> counts;
std::atomic<std::size_t> numCounts{0};

thread_local Count* threadsCount = nullptr;

std::atomic<std::size_t> given{0};
std::atomic<std::size_t> returned{0};

void count() noexcept
{
    if (threadsCount == nullptr)
    {
        const std::size_t place = numCounts.fetch_add(1);
        if (place >= counts.size())
        {
            std::abort();
        }
        threadsCount = &counts[place];
        threadsCount->thread = ::gettid();
    }
    threadsCount->calls.fetch_add(1, std::memory_order_relaxed);
}

void* give(std::size_t size) noexcept
{
    count();
    void* const memory = std::malloc(size == 0 ? 1 : size);
    given.fetch_add(memory != nullptr ? 1 : 0, std::memory_order_relaxed);
    return memory;
}

void takeBack(void* memory) noexcept
{
    returned.fetch_add(memory != nullptr ? 1 : 0, std::memory_order_relaxed);
    std::free(memory);
}

std::string nameOf(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

template <typename Visit>
void visitThreads(const std::string& name, Visit&& visit)
{
    const std::size_t size = numCounts;
    for (std::size_t i = 0; i < size; ++i)
    {
        if (nameOf(counts[i].thread).starts_with(name))
        {
            visit(counts[i].calls.load());
        }
    }
}

} // namespace

// Not inlined: the compiler would take the freeing of what "new" gave for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (void* const memory = give(size))
    {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return give(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    takeBack(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    takeBack(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    takeBack(memory);
}

namespace threadAllocations
{

std::size_t of(const std::string& name)
{
    std::size_t calls = 0;
    visitThreads(name, [&calls](std::size_t ofThread) { calls += ofThread; });
    return calls;
}

std::size_t numThreads(const std::string& name)
{
    std::size_t number = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
    {
        if (nameOf(std::stoi(task.path().filename().string())).starts_with(name))
        {
            ++number;
        }
    }
    return number;
}

std::size_t numLive()
{
    // What is returned in between has been given before: never less than there was.
    const std::size_t gone = returned;
    return given - gone;
}

} // namespace threadAllocations
