#include "runtime/apartment/ThreadPriority.h"

#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/DoItEvent.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

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

TEST(ThreadPriorityTest, theBridgeApartmentIsPreferred)
{
    class Ask final : public DoItEvent
    {
    public:
        explicit Ask(std::promise<int>& nice) : m_nice(nice) {}
        void doIt() override { m_nice.set_value(niceOfThisThread()); }

    private:
        std::promise<int>& m_nice;
    };
    const int before = niceOfThisThread();
    std::promise<int> nice;

    createBridgeApartment();
    post(*bridgeApartment(), std::make_unique<Ask>(nice));

    EXPECT_EQ(nice.get_future().get(), mayPrefer() ? -10 : before);
    resetBridgeApartment();
}

} // namespace
