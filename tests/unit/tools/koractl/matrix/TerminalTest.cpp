#include "tools/koractl/common/Terminal.h"

#include "tests/support/FailingCall.h"
#include "tools/koractl/matrix/KeyReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

using namespace koractl;

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
