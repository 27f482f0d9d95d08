#include "tests/support/StallMeter.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>

using testsupport::StallMeter;
using namespace std::chrono_literals;

namespace
{

using Clock = StallMeter::Clock;

/// Lets this thread, and what it forks, run on one processor alone until destroyed.
class OneProcessor
{
public:
    OneProcessor()
    {
        EXPECT_EQ(sched_getaffinity(0, sizeof m_before, &m_before), 0);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        EXPECT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof m_before, &m_before); }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

private:
    cpu_set_t m_before{};
};

/// What this thread has had of the processors so far.
std::chrono::nanoseconds usedByThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void useProcessorFor(std::chrono::nanoseconds time)
{
    const auto begin = usedByThread();
    while (usedByThread() - begin < time)
    {}
}

} // namespace

TEST(StallMeterTest, TimeForWhichAnotherProgramHadTheProcessorIsLeftOut)
{
    StallMeter sut;
    const OneProcessor one;
    const pid_t other = fork();
    if (other == 0)
    {
        for (;;)
        {}
    }

    const auto begin = Clock::now();
    useProcessorFor(300ms);
    const auto end = Clock::now();

    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
    EXPECT_GE(sut.stalledBetween(begin, end), (end - begin - 300ms) / 2);
    EXPECT_GE(sut.stalledBetween(begin, end), 50ms);
    EXPECT_LE(sut.stalledBetween(begin, end), end - begin);
    EXPECT_EQ(sut.workedBetween(begin, end), end - begin - sut.stalledBetween(begin, end));
}

TEST(StallMeterTest, WaitForSomethingElseThanAProcessorIsNotLeftOut)
{
    StallMeter sut;
    const auto begin = Clock::now();

    timespec pause{.tv_sec = 0, .tv_nsec = 200'000'000};
    nanosleep(&pause, nullptr);

    // However busy the machine is, it does not keep a thread waiting that asks for next to nothing.
    EXPECT_GE(sut.workedSince(begin), 100ms);
}
