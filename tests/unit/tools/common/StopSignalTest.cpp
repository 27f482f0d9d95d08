#include "tools/common/StopSignal.h"

#include "tests/support/FailingCall.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

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

TEST(StopSignal, GivenNoDescriptorThrows)
{
    int error = 0;

    if (!testsupport::withFailingCalls({{SYS_signalfd4, EMFILE}},
                                       [&] { error = testsupport::errorOf([] { StopSignal(); }); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_EQ(error, EMFILE);
}

TEST(StopSignal, GivenWaitThatFailsThrowsInsteadOfSpinning)
{
    int error = 0;

    if (!testsupport::withFailingCalls(testsupport::failingPoll(ENOMEM), [&] {
            StopSignal sut;
            error = testsupport::errorOf([&] { (void)sut.waitFor(1h); });
        }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_EQ(error, ENOMEM);
}
