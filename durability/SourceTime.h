#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace com::tallowcrest::durability
{

/// When a sample was written, by its writer: whole microseconds since 1970 (UTC), so that no DDS implementation's
/// rounding of fractions makes two times out of one.
using SourceTime = std::int64_t;

/// Seconds travel as 31 bits. Later times are nonsense: a writer whose clock was never set, or a damaged row. They
/// count as `latestBelieved`, which leaves a day of room above it for what is written after them.
inline constexpr SourceTime latestOnBus = INT64_C(2147483647) * 1000000;
inline constexpr SourceTime latestBelieved = latestOnBus - INT64_C(86400) * 1000000;

/// The time of a row or sample as it is believed: never before 1970, and nonsense cut to `latestBelieved`.
constexpr SourceTime believed(SourceTime time)
{
    if (time < 0)
    {
        return 0;
    }
    return time >= latestOnBus ? latestBelieved : time;
}

/// A machine whose clock is before this one's release has a clock that was never set; it judges no times.
inline constexpr SourceTime earliestSane = INT64_C(1790000000) * 1000000; // September 2026
/// What is further ahead of a sane clock has no clock written, or one that nobody has set.
inline constexpr SourceTime farthestAhead = INT64_C(86400) * 1000000;

/// Whether a sane writer can have written then, as far as a machine whose clock says `now` can tell.
constexpr bool isBelievable(SourceTime written, SourceTime now)
{
    return written >= 0 && written < latestOnBus && (now < earliestSane || written <= now + farthestAhead);
}

/// The bus counts nanoseconds.
constexpr SourceTime fromBusTime(std::int64_t nanoseconds)
{
    return nanoseconds < 0 ? 0 : believed(nanoseconds / 1000 + (nanoseconds % 1000 >= 500 ? 1 : 0));
}
constexpr std::int64_t toBusTime(SourceTime time)
{
    return time * 1000;
}

/// Gives each write a time after every time that was seen before it, whatever the clocks of the frames say: the later
/// of the machine's clock and the newest time seen plus one. So what was decided in knowledge of something else sorts
/// after it. Thread-safe, without locks.
class HybridClock
{
public:
    /// The time for a write at `now`. From `latestBelieved` on the machine's clock counts no more, so that the bus's
    /// last day has room for all that is ever written after it began.
    SourceTime next(SourceTime now)
    {
        now = std::min(now, latestBelieved);
        SourceTime newest = m_newest.load(std::memory_order_relaxed);
        SourceTime time = 0;
        do
        {
            time = now > newest ? now : newest + 1;
        } while (!m_newest.compare_exchange_weak(newest, time, std::memory_order_relaxed));
        return time;
    }
    /// A time was seen on a row or on the bus.
    void observe(SourceTime time)
    {
        SourceTime newest = m_newest.load(std::memory_order_relaxed);
        while (time > newest && !m_newest.compare_exchange_weak(newest, time, std::memory_order_relaxed))
        {}
    }

private:
    std::atomic<SourceTime> m_newest{0};
};

} // namespace com::tallowcrest::durability
