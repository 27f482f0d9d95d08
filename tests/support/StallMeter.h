#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace testsupport
{

/// Knows for how long the machine let other programs run while this one or the bridge was ready to run: the system
/// counts for each thread how long it has waited for a processor. An answer needs the bridge's apartment, one more
/// thread of the bridge and one of this program; counted are the waits of the apartment and the longest of each of the
/// other two. Whoever promises something within a time promises it of a machine that has a processor for it: an upper
/// bound is compared with what `workedBetween` leaves. Thread-safe.
class StallMeter
{
public:
    using Clock = std::chrono::steady_clock;

    StallMeter();
    ~StallMeter();
    StallMeter(const StallMeter&) = delete;
    StallMeter& operator=(const StallMeter&) = delete;

    /// Whom to look at beside this program; nobody: 0.
    void watch(pid_t bridge);
    /// Looks at a bridge alone: counted are the waits of this thread and the longest of the others, one of which may
    /// have what that thread waits for.
    void watchOnly(pid_t bridge, const std::string& thread);
    Clock::duration stalledBetween(Clock::time_point begin, Clock::time_point end);
    Clock::duration total();
    /// The time between two moments for which there was a processor.
    Clock::duration workedBetween(Clock::time_point begin, Clock::time_point end)
    {
        return end - begin - stalledBetween(begin, end);
    }
    /// The same for the time since a moment.
    Clock::duration workedSince(Clock::time_point begin) { return workedBetween(begin, Clock::now()); }
    /// The same for the time that an action takes.
    template <typename Action>
    Clock::duration workedDuring(Action&& action)
    {
        const auto begin = Clock::now();
        action();
        return workedSince(begin);
    }

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
    /// Adds what has been waited since the last look. Under the lock.
    void look();
    void watch(pid_t bridge, const std::string& thread, bool isBridgeAlone);
    static Waits waitsOf(pid_t process);
    static Clock::duration longest(const Waits& before, const Waits& now, const std::string& except);

    std::mutex m_mutex; ///< of all below but the flag
    std::vector<Stall> m_stalls;
    Clock::time_point m_lastLook = Clock::now();
    Waits m_bridgeWaits;
    Waits m_ownWaits;
    std::string m_threadName;
    std::string m_threadNumber; ///< the number of the bridge's thread of that name, once it has one
    bool m_isBridgeAlone = false;
    std::string m_ownThread; ///< the number of the thread that looks, for which nobody waits
    pid_t m_bridge = 0;
    std::atomic<bool> m_isEnding{false};
    std::thread m_looker;
};

} // namespace testsupport
