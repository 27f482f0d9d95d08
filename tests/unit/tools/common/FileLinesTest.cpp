#include "tools/common/FileLines.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using koractl::FileError;
using koractl::forEachLine;

namespace
{

std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> lines;
    forEachLine(in, "file", [&](const std::string& line, std::size_t number) {
        lines.push_back(std::to_string(number) + " " + line);
    });
    return lines;
}

TEST(FileLinesTest, LinesComeWithTheirNumbersAndTheLastNeedsNoEnd)
{
    EXPECT_EQ(linesOf("one\n\n# two\nthree\r\nfour"), (std::vector<std::string>{"1 one", "4 three", "5 four"}));
}

TEST(FileLinesTest, LineWithoutAnEndIsRefused)
{
    EXPECT_EQ(linesOf(std::string(65536, 'a') + "\nb").size(), 2U);
    try
    {
        linesOf("one\n" + std::string(65537, 'a') + "\nb");
        FAIL() << "was read";
    }
    catch (const FileError& error)
    {
        EXPECT_STREQ(error.what(), "file:2: the line is longer than 65536 bytes");
    }
}

} // namespace
