#pragma once

#include <chrono>
#include <cstddef>
#include <limits>

namespace com::tallowcrest::util
{

/// Gives back to the system what the process has freed and its heaps keep between what is still used. Owned by one
/// thread.
class SpareMemory
{
public:
    using Clock = std::chrono::steady_clock;

    /// Bytes; less is not worth the search for it.
    static constexpr std::size_t worthwhile = std::size_t{1024} * 1024;

    /// Looks at the heaps no more often than each `interval`.
    explicit SpareMemory(Clock::duration interval) : m_interval(interval) {}

    /// Gives back what can be when enough has become free since the last time.
    void look(Clock::time_point now);
    /// Gives back what can be.
    void giveBack();

private:
    const Clock::duration m_interval;
    Clock::time_point m_due{};
    /// Of the bytes that are free, at most; at first what the first look finds.
    std::size_t m_givenBack = std::numeric_limits<std::size_t>::max();
};

} // namespace com::tallowcrest::util
