#include "runtime/apartment/ThreadPriority.h"

#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/Crowd.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Preference.h"
#include "runtime/apartment/ThreadTurns.h"
#include "tests/fakes/ManualAlarmClock.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace
{

thread_local int numYields = 0;

} // namespace

/// Instead of the C library's, so that it is known who gives way and how often.
extern "C" int sched_yield() noexcept
{
    ++numYields;
    return static_cast<int>(syscall(SYS_sched_yield));
}

namespace
{

using namespace com::tallowcrest::apartment;

int niceOfThisThread()
{
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

int policyOfThisThread()
{
    return sched_getscheduler(0);
}

/// Runs on a thread of its own, so that the test's stays as it is.
int onThread(const std::function<int()>& work)
{
    return std::async(std::launch::async, work).get();
}

/// Whether this process may prefer threads at all, found out without the code under test.
bool mayPrefer()
{
    return onThread([] { return setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -10); }) == 0;
}

TEST(ThreadPriorityTest, prefersTheThreadWhereThatIsPermittedAndElseChangesNothing)
{
    const int before = niceOfThisThread();

    const int after = onThread([] {
        preferThisThread();
        return niceOfThisThread();
    });

    EXPECT_EQ(after, mayPrefer() ? -10 : before);
    EXPECT_EQ(niceOfThisThread(), before);
}

TEST(ThreadPriorityTest, threadsStartedUnderTheOrdinaryPriorityHaveIt)
{
    const int before = niceOfThisThread();
    int started = -20;

    const int after = onThread([&started] {
        preferThisThread();
        {
            const OrdinaryPriority sut;
            started = onThread(niceOfThisThread);
        }
        return niceOfThisThread();
    });

    EXPECT_EQ(started, before);
    EXPECT_EQ(after, mayPrefer() ? -10 : before);
}

TEST(ThreadPriorityTest, ordinaryPriorityLeavesAThreadThatIsNotPreferredAlone)
{
    const int before = niceOfThisThread();
    {
        const OrdinaryPriority sut;
        EXPECT_EQ(niceOfThisThread(), before);
    }
    EXPECT_EQ(niceOfThisThread(), before);
}

TEST(ThreadPriorityTest, thePreferenceIsTakenBackAndGivenAgain)
{
    const int before = niceOfThisThread();
    int taken = -20;
    int afterOrdinary = -20;

    const int after = onThread([&] {
        preferThisThread();
        preferThisThread(false);
        taken = niceOfThisThread();
        {
            const OrdinaryPriority nothingToTakeBack;
        }
        afterOrdinary = niceOfThisThread();
        preferThisThread(true);
        return niceOfThisThread();
    });

    EXPECT_EQ(taken, before);
    EXPECT_EQ(afterOrdinary, before);
    EXPECT_EQ(after, mayPrefer() ? -10 : before);
}

TEST(ThreadPriorityTest, aThreadThatWasNeverPreferredIsNot)
{
    const int before = niceOfThisThread();

    EXPECT_EQ(onThread([] {
                  preferThisThread(true);
                  return niceOfThisThread();
              }),
              before);
}

/// The patient way, if this process has the ordinary one.
const int patientPolicy = policyOfThisThread() == SCHED_OTHER ? SCHED_BATCH : policyOfThisThread();

TEST(ThreadPriorityTest, threadsStartedUnderTheOrdinaryPriorityTakeOrdinaryTurns)
{
    const int before = policyOfThisThread();
    int started = -1;

    const int after = onThread([&started] {
        takeTurns(Turns::Patient);
        {
            const OrdinaryPriority sut;
            started = onThread(policyOfThisThread);
        }
        return policyOfThisThread();
    });

    EXPECT_EQ(started, before);
    EXPECT_EQ(after, patientPolicy);
}

/// Asks the apartment's thread something, on behalf of a waiter who hears of it as others do: when the round is over.
class Ask final : public DoItEvent
{
public:
    Ask(std::promise<int>& answer, int (*question)(), const void* waiter) : m_answer(answer), m_question(question)
    {
        setWaiter(waiter);
        setBrief();
    }
    void doIt() override { m_found = m_question(); }
    void afterRound() override { m_answer.set_value(m_found); }

private:
    std::promise<int>& m_answer;
    int (*const m_question)();
    int m_found = 0;
};

/// An apartment that many wait for at its start.
class CrowdedApartmentTest : public testing::Test
{
protected:
    ~CrowdedApartmentTest() override { m_sut.stop(); }

    /// Starts it with more waiting events than it needs to find a crowd; what the first and the last were answered.
    std::pair<int, int> startCrowded(int (*question)())
    {
        // The first ones come long after whatever was judged before, so it takes as many again.
        std::array<std::promise<int>, 2 * Crowd::numJudged + 1> together;
        for (auto& one : together)
        {
            send(one, question);
        }
        m_sut.start();
        const int first = together.front().get_future().get();
        return {first, together.back().get_future().get()};
    }
    /// What it answers to one who comes when all others have been answered.
    int ask(int (*question)())
    {
        std::promise<int> alone;
        send(alone, question);
        return alone.get_future().get();
    }
    /// What it answers to the first one who comes alone after some time.
    int askAfterCrowd(int (*question)())
    {
        m_clock->pass(2 * Crowd::judgedTime);
        return ask(question);
    }

    const std::shared_ptr<ManualAlarmClock> m_clock = std::make_shared<ManualAlarmClock>();
    Apartment m_sut{"sut", nullptr, m_clock};

private:
    void send(std::promise<int>& answer, int (*question)())
    {
        static constexpr int waiter = 0;
        post(m_sut, std::make_unique<Ask>(answer, question, &waiter));
    }
};

TEST_F(CrowdedApartmentTest, interruptsNobody)
{
    const int before = policyOfThisThread();
    EXPECT_FALSE(m_sut.isCrowded());

    EXPECT_EQ(startCrowded(policyOfThisThread), std::pair(before, patientPolicy));
    EXPECT_TRUE(m_sut.isCrowded());

    EXPECT_EQ(askAfterCrowd(policyOfThisThread), before);
    EXPECT_FALSE(m_sut.isCrowded());
}

TEST_F(CrowdedApartmentTest, givesWayBeforeEachRoundSoThatOthersJoinIt)
{
    const auto yieldsSoFar = [] { return numYields; };
    startCrowded(yieldsSoFar);
    const int before = ask(yieldsSoFar);
    EXPECT_EQ(ask(yieldsSoFar), before + 1);
    EXPECT_EQ(ask(yieldsSoFar), before + 2);

    const int after = askAfterCrowd(yieldsSoFar);
    EXPECT_EQ(ask(yieldsSoFar), after);
}

TEST(ThreadPriorityTest, theBridgeApartmentIsPreferredUnlessSeveralWaitForIt)
{
    constexpr std::array<int, 2> waiters{};
    const auto ask = [](const void* waiter) {
        std::promise<int> nice;
        post(*bridgeApartment(), std::make_unique<Ask>(nice, niceOfThisThread, waiter));
        return nice.get_future().get();
    };
    const int before = niceOfThisThread();
    const int preferred = mayPrefer() ? -10 : before;

    createBridgeApartment();
    EXPECT_EQ(ask(nullptr), preferred);
    for (std::uint32_t i = 0; i < Preference::numJudged; ++i)
    {
        ask(&waiters.at(i % 2));
    }
    EXPECT_EQ(ask(nullptr), before);
    for (std::uint32_t i = 0; i < Preference::numJudged; ++i)
    {
        ask(waiters.data());
    }
    EXPECT_EQ(ask(nullptr), preferred);
    resetBridgeApartment();
}

} // namespace
