#include "tools/korasim/ScriptInput.h"

#include "tests/support/FailingCall.h"

#include <gtest/gtest.h>

#include <cerrno>

using korasim::ScriptInput;

TEST(ScriptInputTest, WithoutADescriptorForItsSignalsThrows)
{
    int error = 0;

    if (!testsupport::withFailingCalls({{SYS_signalfd4, EMFILE}},
                                       [&] { error = testsupport::errorOf([] { ScriptInput(); }); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_EQ(error, EMFILE);
}

TEST(ScriptInputTest, WaitThatFailsThrowsInsteadOfSpinning)
{
    int error = 0;

    if (!testsupport::withFailingCalls(testsupport::failingPoll(ENOMEM), [&] {
            ScriptInput sut;
            error = testsupport::errorOf([&] { sut.pause(std::chrono::hours(1)); });
        }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_EQ(error, ENOMEM);
}
