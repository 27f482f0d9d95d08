#pragma once

#include "runtime/apartment/AlarmClock.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace com::tallowcrest::apartment
{

/// Whether so many wait for an apartment that its events mostly find others to share a round with. Then whoever goes on
/// without being interrupted does most: the apartment finds more events together, and those whom it answers send their
/// answers one after the other instead of each in the middle of the round. See Turns::Patient. Bound to one thread,
/// but any may ask whether it is there.
class Crowd
{
public:
    /// So many events are judged together. They mean a crowd when they came within that time and half of them found
    /// others; a crowd lasts while a quarter does.
    static constexpr std::uint32_t numJudged = 64;
    static constexpr std::chrono::milliseconds judgedTime{10};
    static constexpr std::uint32_t begins = numJudged / 2;
    static constexpr std::uint32_t lasts = numJudged / 4;

    explicit Crowd(const AlarmClock& clock) : m_clock(clock) {}

    /// An event is about to run whose answer somebody waits for; `isShared`: in a round that is under way. True when
    /// `isThere` has changed.
    bool note(bool isShared)
    {
        ++m_numNoted;
        m_numShared += isShared ? 1 : 0;
        const bool isFull = m_numNoted == numJudged;
        const bool wasThere = isThere();
        if (!isFull && (isShared || !wasThere))
        {
            return false;
        }
        // The time is asked seldom, but a crowd that has gone is noticed at the first event that comes alone.
        const auto now = m_clock.now();
        const bool isFast = now - m_begin <= judgedTime;
        if (!isFull && isFast)
        {
            return false;
        }
        const bool isThereNow = isFast && m_numShared >= (wasThere ? lasts : begins);
        m_isThere.store(isThereNow, std::memory_order_relaxed);
        m_begin = now;
        m_numNoted = 0;
        m_numShared = 0;
        return isThereNow != wasThere;
    }
    bool isThere() const { return m_isThere.load(std::memory_order_relaxed); }

private:
    const AlarmClock& m_clock;
    AlarmClock::Clock::time_point m_begin{};
    std::uint32_t m_numNoted = 0;
    std::uint32_t m_numShared = 0;
    std::atomic<bool> m_isThere{false};
};

} // namespace com::tallowcrest::apartment
