#include "runtime/util/WakeEvent.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

using com::tallowcrest::util::WakeEvent;
using namespace std::chrono_literals;

namespace
{

using Clock = WakeEvent::Clock;

bool isReadable(const WakeEvent& event)
{
    pollfd wait{event.fd(), POLLIN, 0};
    return ::poll(&wait, 1, 0) == 1;
}

TEST(WakeEventTest, theDescriptorIsReadableFromSignalToClear)
{
    const WakeEvent sut;
    EXPECT_FALSE(isReadable(sut));

    sut.signal();
    sut.signal();
    EXPECT_TRUE(isReadable(sut));

    sut.clear();
    EXPECT_FALSE(isReadable(sut));
}

TEST(WakeEventTest, aSignalThatCameBeforeEndsTheWaitAtOnceAndIsUsedUp)
{
    const WakeEvent sut;
    sut.signal();
    const auto deadline = Clock::now() + 1h;

    sut.waitUntil(deadline);

    EXPECT_LT(Clock::now(), deadline);
    EXPECT_FALSE(isReadable(sut));
}

TEST(WakeEventTest, aSignalOfAnotherThreadEndsTheWait)
{
    const WakeEvent sut;
    const auto deadline = Clock::now() + 1h;
    std::thread other([&] { sut.signal(); });

    sut.waitUntil(deadline);

    EXPECT_LT(Clock::now(), deadline);
    other.join();
}

TEST(WakeEventTest, withoutASignalTheWaitLastsUntilItsDeadline)
{
    const WakeEvent sut;
    for (int i = 0; i < 20; ++i)
    {
        const auto deadline = Clock::now() + 1500us; // no whole number of milliseconds

        sut.waitUntil(deadline);

        EXPECT_GE(Clock::now(), deadline);
    }
}

TEST(WakeEventTest, aDeadlineThatHasPassedEndsTheWaitButTakesTheSignal)
{
    const WakeEvent sut;
    sut.signal();

    sut.waitUntil(Clock::now() - 1h);

    EXPECT_FALSE(isReadable(sut));
}

std::atomic<int> numInterruptions{0};

void countInterruption(int /*number*/)
{
    ++numInterruptions;
}

TEST(WakeEventTest, systemSignalsDoNotEndTheWait)
{
    const WakeEvent sut;
    struct sigaction action
    {};
    action.sa_handler = countInterruption; // system calls end with EINTR
    ASSERT_EQ(::sigaction(SIGALRM, &action, nullptr), 0);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &everyMillisecond, nullptr), 0);
    const auto deadline = Clock::now() + 50ms;

    sut.waitUntil(deadline);

    EXPECT_GE(Clock::now(), deadline);
    EXPECT_GT(numInterruptions, 0);
    const itimerval never{};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
}

TEST(WakeEventTest, withoutADescriptorTheWaitLastsUntilItsDeadline)
{
    rlimit former{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit none{0, former.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const WakeEvent sut;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &former), 0);
    ASSERT_EQ(sut.fd(), -1);
    const auto deadline = Clock::now() + 20ms;

    sut.signal();
    sut.waitUntil(deadline);

    EXPECT_GE(Clock::now(), deadline);
}

} // namespace
