#include "runtime/misc/Console.h"

#include <gtest/gtest.h>

#include <string>

using com::tallowcrest::misc::printLines;

namespace
{

TEST(ConsoleTest, ATextOfAnyLengthIsPrintedWhole)
{
    std::string text;
    for (int line = 0; line < 200; ++line)
    {
        text += "a line of some forty characters, number " + std::to_string(line) + "\n";
    }
    text += "100% without an end";
    testing::internal::CaptureStdout();

    printLines(text);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
}

} // namespace
