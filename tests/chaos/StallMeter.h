#pragma once

#include "tests/chaos/Crosspoint.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace chaos
{

/// Knows when the machine did not let this program run: a thread that sleeps a little all the time and notes when it
/// woke much too late. Thread-safe.
class StallMeter
{
public:
    StallMeter();
    ~StallMeter();
    StallMeter(const StallMeter&) = delete;
    StallMeter& operator=(const StallMeter&) = delete;

    Clock::duration stalledBetween(Clock::time_point begin, Clock::time_point end) const;
    Clock::duration total() const;

private:
    void run();

    mutable std::mutex m_mutex;
    std::vector<std::pair<Clock::time_point, Clock::time_point>> m_stalls;
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

} // namespace chaos
