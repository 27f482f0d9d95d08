#include "tools/common/Names.h"

#include "tests/support/TempDir.h"
#include "tools/common/FileLines.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace koractl;

namespace
{

Names read(const std::string& text)
{
    std::istringstream in(text);
    return Names::read(in, "studio.names");
}

} // namespace

TEST(Names, GivenLevelLinesHoldForTheirLevel)
{
    const Names sut = read("# Studio 1\n\nlevel 1 video\n  input 5   CAM 1  \noutput 0x7 Monitor #3\r\n"
                           "level 2 audio\ninput 5 MIC 1\n");

    EXPECT_EQ(sut.level(1), "video");
    EXPECT_EQ(sut.level(3), "");
    EXPECT_EQ(sut.input(1, 5), "CAM 1");
    EXPECT_EQ(sut.input(2, 5), "MIC 1");
    EXPECT_EQ(sut.input(3, 5), "");
    EXPECT_EQ(sut.output(1, 7), "Monitor #3");
    EXPECT_EQ(sut.findLevel("audio"), 2U);
    EXPECT_EQ(sut.findInput(1, "CAM 1"), 5U);
    EXPECT_EQ(sut.findInput(2, "CAM 1"), std::nullopt);
    EXPECT_EQ(sut.findOutput(1, "Monitor #3"), 7U);
    EXPECT_EQ(sut.inputWidth(1), 5U);
    EXPECT_EQ(sut.outputWidth(2), 0U);
}

TEST(Names, GivenNamesBeforeTheFirstLevelHoldForEveryLevelWithoutItsOwn)
{
    const Names sut = read("input 5 CAM 1\nlevel 2\ninput 5 MIC 1\ninput 9 MIC 2\n");

    EXPECT_EQ(sut.input(1, 5), "CAM 1");
    EXPECT_EQ(sut.input(2, 5), "MIC 1");
    EXPECT_EQ(sut.findInput(2, "CAM 1"), 5U);
    EXPECT_EQ(sut.lastInput(1), 5U);
    EXPECT_EQ(sut.lastInput(2), 9U);
}

TEST(Names, GivenAnyNameIsNotEmpty)
{
    EXPECT_TRUE(read("# nothing\nlevel 1\n").isEmpty());
    EXPECT_FALSE(read("level 1 video\n").isEmpty());
    EXPECT_FALSE(read("input 5 CAM 1\n").isEmpty());
    EXPECT_FALSE(read("output 7 MON 1\n").isEmpty());
}

TEST(Names, WidthCountsCharactersNotBytes)
{
    EXPECT_EQ(read("input 5 K\xc3\xb6ln\n").inputWidth(1), 4U);
    EXPECT_EQ(read("\xef\xbb\xbfinput 5 A\n").input(1, 5), "A");
}

TEST(Names, GivenNoFileSaysSo)
{
    const testsupport::TempDir directory;
    const std::string path = (directory.path() / "nobody").string();

    try
    {
        (void)Names::load(path);
        FAIL();
    }
    catch (const FileError& problem)
    {
        EXPECT_EQ(problem.what(), path + ": No such file or directory");
    }
}

TEST(Names, GivenDirectorySaysThatItCannotBeRead)
{
    const testsupport::TempDir directory;

    try
    {
        (void)Names::load(directory.path().string());
        FAIL();
    }
    catch (const FileError& problem)
    {
        EXPECT_EQ(problem.what(), directory.path().string() + ": cannot be read");
    }
}

TEST(Names, GivenSeveralBadLinesComplainsAboutEach)
{
    try
    {
        (void)read("input 5\ninput 6 A\nfoo\n");
        FAIL();
    }
    catch (const FileError& problem)
    {
        EXPECT_STREQ(problem.what(), "studio.names:1: the name is missing\n"
                                     "studio.names:3: 'foo' cannot begin a line; level, input or output can");
    }
}

struct BadLine
{
    const char* lines;
    const char* complaint;
};

class NamesBadLine : public testing::TestWithParam<BadLine>
{};

TEST_P(NamesBadLine, IsRefusedWithItsNumber)
{
    try
    {
        (void)read(GetParam().lines);
        FAIL() << "it was accepted";
    }
    catch (const FileError& problem)
    {
        EXPECT_EQ(problem.what(), std::string("studio.names:") + GetParam().complaint);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, NamesBadLine,
    testing::Values(
        BadLine{"input x A\n", "1: 'x' is not a number from 0 to 4294967295"},
        BadLine{"# c\ninput 1 12\n", "2: '12' would be read as a number"},
        BadLine{"input 1 0xAB\n", "1: '0xAB' would be read as a number"},
        BadLine{"input 1 A:B\n", "1: a name holds no colon, quotation mark or tab and begins with no hyphen"},
        BadLine{"input 1 -A\n", "1: a name holds no colon, quotation mark or tab and begins with no hyphen"},
        BadLine{"input 1 A\ninput 2 A\n", "2: 'A' is the name of 1 already"},
        BadLine{"input 1 A\ninput 1 B\n", "2: 1 has a name already: 'A'"},
        BadLine{"input 1 A\nlevel 1\noutput 3 \xff\n",
                "3: the line is not UTF-8 text, or holds characters that draw nothing"},
        BadLine{"input 1 A\x01\n", "1: the line is not UTF-8 text, or holds characters that draw nothing"},
        // An escape sequence's beginning as one character, and the characters that turn a line round.
        BadLine{"input 1 A\xc2\x9b"
                "2J\n",
                "1: the line is not UTF-8 text, or holds characters that draw nothing"},
        BadLine{"input 1 \xe2\x80\xae"
                "1 MAC\n",
                "1: the line is not UTF-8 text, or holds characters that draw nothing"},
        BadLine{"input 1 "
                "a name of sixty-five letters is one letter longer than is allowed\n",
                "1: the name is longer than 64 characters"},
        BadLine{"level\n", "1: '' is not a number from 0 to 4294967295"}));
