#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <future>
#include <ostream>

namespace testsupport
{

/// How the system lets a thread take turns: its way of being scheduled, and the length of its turn in nanoseconds (0
/// where the system does not tell).
struct ScheduledTurns
{
    int policy = -1;
    std::uint64_t lengthNs = 0;

    bool operator==(const ScheduledTurns&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const ScheduledTurns& turns)
    {
        return out << "policy " << turns.policy << ", turns of " << turns.lengthNs << " ns";
    }
};

/// sched_setattr(2)'s words: its size and the policy share the first, the length of a turn is the fourth.
using SchedulingWords = std::array<std::uint64_t, 6>;

inline SchedulingWords schedulingWords()
{
    SchedulingWords words{};
    EXPECT_EQ(syscall(SYS_sched_getattr, 0, words.data(), sizeof words, 0), 0);
    return words;
}

inline ScheduledTurns turnsOfThisThread()
{
    return {sched_getscheduler(0), schedulingWords()[3]};
}

/// What a thread has that asks the system itself for turns of `lengthNs` (0: the system's own).
inline ScheduledTurns turnsAfterAsking(int policy, std::uint64_t lengthNs)
{
    return std::async(std::launch::async,
                      [&] {
                          SchedulingWords words = schedulingWords();
                          const std::array<std::uint32_t, 2> head{sizeof words, static_cast<std::uint32_t>(policy)};
                          std::memcpy(words.data(), head.data(), sizeof head);
                          words[3] = lengthNs;
                          EXPECT_EQ(syscall(SYS_sched_setattr, 0, words.data(), 0), 0);
                          return turnsOfThisThread();
                      })
        .get();
}

/// What is to be expected of a connection's thread, where nobody has chosen otherwise for this process.
inline ScheduledTurns shortTurns()
{
    const ScheduledTurns now = turnsOfThisThread();
    return now.policy == SCHED_OTHER ? turnsAfterAsking(SCHED_OTHER, 100'000) : now;
}

/// The same in a crowd.
inline ScheduledTurns patientTurns()
{
    const ScheduledTurns now = turnsOfThisThread();
    return now.policy == SCHED_OTHER ? turnsAfterAsking(SCHED_BATCH, 0) : now;
}

} // namespace testsupport
