#include "tools/korasim/ScriptInput.h"

#include "tests/support/FailingCall.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

using korasim::ScriptInput;

namespace
{

/// What a call throws that the system refuses; 0 when it throws nothing.
template <typename Call>
int errorOf(Call&& call)
{
    try
    {
        call();
    }
    catch (const std::system_error& error)
    {
        return error.code().value();
    }
    return 0;
}

constexpr const char* noFailingCalls = "system calls cannot be made to fail here";

} // namespace

TEST(ScriptInputTest, WithoutADescriptorForItsSignalsThrows)
{
    int error = 0;

    if (!testsupport::withFailingCalls({{SYS_signalfd4, EMFILE}}, [&] { error = errorOf([] { ScriptInput(); }); }))
    {
        GTEST_SKIP() << noFailingCalls;
    }

    EXPECT_EQ(error, EMFILE);
}

TEST(ScriptInputTest, WaitThatFailsThrowsInsteadOfSpinning)
{
    int error = 0;

    if (!testsupport::withFailingCalls(testsupport::failingPoll(ENOMEM), [&] {
            ScriptInput sut;
            error = errorOf([&] { sut.pause(std::chrono::hours(1)); });
        }))
    {
        GTEST_SKIP() << noFailingCalls;
    }

    EXPECT_EQ(error, ENOMEM);
}
