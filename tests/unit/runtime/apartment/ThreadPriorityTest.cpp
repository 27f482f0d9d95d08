#include "runtime/apartment/ThreadPriority.h"

#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Preference.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <thread>

namespace
{

using namespace com::tallowcrest::apartment;

int niceOfThisThread()
{
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
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

TEST(ThreadPriorityTest, theBridgeApartmentIsPreferredUnlessSeveralWaitForIt)
{
    class Ask final : public DoItEvent
    {
    public:
        Ask(std::promise<int>& nice, const void* waiter) : m_nice(nice)
        {
            setWaiter(waiter);
            setBrief();
        }
        void doIt() override { m_nice.set_value(niceOfThisThread()); }

    private:
        std::promise<int>& m_nice;
    };
    constexpr std::array<int, 2> waiters{};
    const auto ask = [](const void* waiter) {
        std::promise<int> nice;
        post(*bridgeApartment(), std::make_unique<Ask>(nice, waiter));
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
