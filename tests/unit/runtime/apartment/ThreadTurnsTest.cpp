#include "runtime/apartment/ThreadTurns.h"

#include "tests/support/ScheduledTurns.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <future>
#include <initializer_list>
#include <vector>

namespace
{

using namespace com::tallowcrest::apartment;
using testsupport::ScheduledTurns;

/// How a thread of its own is scheduled after `work`, so that the test's stays as it is.
ScheduledTurns afterOnThread(const std::function<void()>& work)
{
    return std::async(std::launch::async,
                      [&work] {
                          work();
                          return testsupport::turnsOfThisThread();
                      })
        .get();
}

ScheduledTurns afterTurns(std::initializer_list<Turns> taken)
{
    return afterOnThread([&taken] {
        for (const Turns turns : taken)
        {
            takeTurns(turns);
        }
    });
}

/// What is to be expected where this process runs, found out without the code under test.
class ThreadTurnsTest : public ::testing::Test
{
protected:
    const ScheduledTurns m_ordinary = testsupport::turnsOfThisThread();
    const ScheduledTurns m_patient = testsupport::patientTurns();
    const ScheduledTurns m_short = testsupport::shortTurns();
};

TEST_F(ThreadTurnsTest, AThreadTakesTheTurnsThatItIsTold)
{
    EXPECT_EQ(afterTurns({Turns::Patient}), m_patient);
    EXPECT_EQ(afterTurns({Turns::Short}), m_short);
    EXPECT_EQ(afterTurns({Turns::Ordinary}), m_ordinary);
    EXPECT_EQ(testsupport::turnsOfThisThread(), m_ordinary);
}

TEST_F(ThreadTurnsTest, EachKindFollowsUponEachOther)
{
    EXPECT_EQ(afterTurns({Turns::Short, Turns::Patient}), m_patient);
    EXPECT_EQ(afterTurns({Turns::Patient, Turns::Short}), m_short);
    EXPECT_EQ(afterTurns({Turns::Short, Turns::Ordinary}), m_ordinary);
    EXPECT_EQ(afterTurns({Turns::Patient, Turns::Ordinary}), m_ordinary);
}

TEST_F(ThreadTurnsTest, ThePriorityStays)
{
    constexpr int nice = 5;
    std::vector<int> seen;

    afterOnThread([&seen] {
        const auto self = static_cast<id_t>(gettid());
        ASSERT_EQ(setpriority(PRIO_PROCESS, self, nice), 0);
        for (const Turns turns : {Turns::Short, Turns::Patient, Turns::Ordinary})
        {
            takeTurns(turns);
            seen.push_back(getpriority(PRIO_PROCESS, self));
        }
    });

    EXPECT_EQ(seen, (std::vector<int>{nice, nice, nice}));
}

TEST_F(ThreadTurnsTest, WhatSomebodyElseHasChosenStays)
{
    const sched_param none{};
    for (const Turns turns : {Turns::Short, Turns::Patient})
    {
        EXPECT_EQ(afterOnThread([&] {
                      sched_setscheduler(0, SCHED_IDLE, &none);
                      takeTurns(turns);
                  }).policy,
                  SCHED_IDLE);
        EXPECT_EQ(afterOnThread([&] {
                      takeTurns(turns);
                      sched_setscheduler(0, SCHED_IDLE, &none);
                      takeTurns(Turns::Ordinary);
                  }).policy,
                  SCHED_IDLE);
    }
}

TEST_F(ThreadTurnsTest, WhatWasTakenLastIsKnownToItsThreadAlone)
{
    Turns taken = Turns::Ordinary;

    afterOnThread([&taken] {
        takeTurns(Turns::Patient);
        takeTurns(Turns::Short);
        taken = turnsTaken();
    });

    EXPECT_EQ(taken, Turns::Short);
    EXPECT_EQ(turnsTaken(), Turns::Ordinary);
}

} // namespace
