#pragma once

#include "tests/chaos/AnswerTimes.h"
#include "tests/chaos/ChangeLedger.h"
#include "tests/chaos/TakeLedger.h"
#include "tests/chaos/Verdict.h"
#include "tests/support/StallMeter.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace chaos
{

/// Tells threads to end, and lets them sleep until then. Thread-safe.
class Stopper
{
public:
    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        m_changed.notify_all();
    }
    bool isStopped() const
    {
        const std::lock_guard lock(m_mutex);
        return m_isStopped;
    }
    /// False when it is time to end.
    bool pause(std::chrono::milliseconds time) const
    {
        std::unique_lock lock(m_mutex);
        return !m_changed.wait_for(lock, time, [this] { return m_isStopped; });
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_isStopped = false;
};

/// A fault that the program brings into its own observations, to show that it would notice one of the bridge's.
enum class Sabotage
{
    None,
    LateAnswer,
    LostTake,
    RefusedTakes,
    MissingChange,
    SilentRouter,
    ForeignResponse,
    DeadBridge,
    Growth,
    Escape,
};

/// What the bridge has to keep.
struct Bounds
{
    std::chrono::milliseconds answer;  ///< from a request to its response
    std::chrono::milliseconds take;    ///< from a response to the target on the bus
    std::chrono::milliseconds change;  ///< from a status on the bus to the walk that must report it
    std::chrono::milliseconds connect; ///< from wanting in to the first response, while not all slots are taken
    std::chrono::milliseconds console; ///< from the leaving of one operator to the menu of the next
    std::chrono::milliseconds exit;    ///< from SIGTERM to the end of the process
    std::chrono::milliseconds rest;    ///< until the memory of a burst is given back
    std::size_t growth = 4096;         ///< kB of memory, from before a hostile participant's visit until after it

    /// What an optimised build keeps; `slowness` times as much for others.
    static Bounds times(int slowness)
    {
        using std::chrono::milliseconds;
        return {milliseconds(2000) * slowness,
                milliseconds(2000) * slowness,
                milliseconds(3000) * slowness,
                milliseconds(5000) * slowness,
                milliseconds(10000) * slowness,
                milliseconds(10000) * slowness,
                milliseconds(10000)};
    }
};

/// What all who take part in a run share: the checkers and the source of numbers.
struct World
{
    explicit World(const Bounds& limits, Sabotage fault)
        : bounds(limits), sabotage(fault),
          answers(verdict, limits.answer, [this](auto begin, auto end) { return stalls.stalledBetween(begin, end); }),
          takes(verdict, limits.take), changes(verdict, limits.change)
    {}

    const Bounds bounds;
    const Sabotage sabotage;
    Verdict verdict;
    testsupport::StallMeter stalls;
    AnswerTimes answers;
    TakeLedger takes;
    ChangeLedger changes;
    std::atomic<std::uint32_t> nextNumber{1000};
    /// Cleared by the one who carries a sabotage out, so that it happens once.
    std::atomic<bool> isSabotageOpen{false};

    /// True from then on, when this sabotage is due.
    bool isSabotagedBy(Sabotage which) const { return sabotage == which && isSabotageOpen; }
    /// True once, when this sabotage is due.
    bool takesSabotage(Sabotage which) { return sabotage == which && isSabotageOpen.exchange(false); }
};

} // namespace chaos
