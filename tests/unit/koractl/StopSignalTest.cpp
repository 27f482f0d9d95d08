#include "tools/koractl/StopSignal.h"

#include <csignal>

#include <gtest/gtest.h>

using namespace koractl;
using namespace std::chrono_literals;

namespace
{

bool isBlocked(int signal)
{
    sigset_t mask{};
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

} // namespace

TEST(StopSignal, GivenNoSignalReturnsFalseAfterTheTime)
{
    StopSignal sut;
    const auto start = std::chrono::steady_clock::now();

    EXPECT_FALSE(sut.waitFor(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

class StopSignalOf : public testing::TestWithParam<int>
{};

TEST_P(StopSignalOf, GivenSignalReturnsTrueAtOnceAndFromThenOn)
{
    StopSignal sut;

    ASSERT_EQ(::raise(GetParam()), 0);

    EXPECT_TRUE(sut.waitFor(1h));
    EXPECT_TRUE(sut.waitFor(1h));
}

INSTANTIATE_TEST_SUITE_P(Signals, StopSignalOf, testing::Values(SIGINT, SIGTERM));

TEST(StopSignal, GivenPendingSignalAtItsEndLetsTheProcessLiveAndRestoresTheMask)
{
    ASSERT_FALSE(isBlocked(SIGINT));
    {
        const StopSignal sut;
        EXPECT_TRUE(isBlocked(SIGINT));
        ASSERT_EQ(::raise(SIGINT), 0);
    }

    EXPECT_FALSE(isBlocked(SIGINT));
}
