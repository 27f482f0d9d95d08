#pragma once

#include "tests/chaos/Crosspoint.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace chaos
{

/// Knows for how long the machine let other programs run while this one or the bridge was ready to run: the system
/// counts for each thread how long it has waited for a processor. An answer needs the bridge's apartment, one more
/// thread of the bridge and one of this program; counted are the waits of the apartment and the longest of each of the
/// other two. Thread-safe.
class StallMeter
{
public:
    StallMeter();
    ~StallMeter();
    StallMeter(const StallMeter&) = delete;
    StallMeter& operator=(const StallMeter&) = delete;

    /// Whom to look at beside this program.
    void watch(pid_t bridge) { m_bridge = bridge; }
    Clock::duration stalledBetween(Clock::time_point begin, Clock::time_point end) const;
    Clock::duration total() const;

private:
    struct Stall
    {
        Clock::time_point begin;
        Clock::time_point end;
        Clock::duration waited;
    };
    /// How long each thread of a process has waited, by its number.
    using Waits = std::map<std::string, Clock::duration>;

    void run();
    static Waits waitsOf(pid_t process);
    static Clock::duration longest(const Waits& before, const Waits& now, const std::string& except);

    mutable std::mutex m_mutex;
    std::vector<Stall> m_stalls;
    std::atomic<pid_t> m_bridge{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

} // namespace chaos
