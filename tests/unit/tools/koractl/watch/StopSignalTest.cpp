#include "tools/koractl/watch/StopSignal.h"

#include "tests/support/FailingCall.h"
#include "tools/koractl/common/Terminal.h"
#include "tools/koractl/matrix/KeyReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

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

TEST(RawTerminal, GivenStandardInputThatIsNoTerminalThrows)
{
    const int saved = ::dup(STDIN_FILENO);
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(::dup2(nothing, STDIN_FILENO), 0);

    const int error = testsupport::errorOf([] { RawTerminal(); });

    ::dup2(saved, STDIN_FILENO);
    ::close(saved);
    ::close(nothing);
    EXPECT_EQ(error, ENOTTY);
}

TEST(TerminalSize, GivenOutputThatIsNoTerminalIsAsWideAsTheEnvironmentSays)
{
    testing::internal::CaptureStdout(); // into a file
    ::setenv("COLUMNS", "132", 1);
    const TerminalSize wide = TerminalSize::now();
    ::setenv("COLUMNS", "many", 1);
    const TerminalSize usual = TerminalSize::now();
    testing::internal::GetCapturedStdout();
    ::unsetenv("COLUMNS");

    EXPECT_EQ(wide.columns, 132U);
    EXPECT_EQ(usual.columns, 80U);
    EXPECT_EQ(usual.rows, 24U);
}
