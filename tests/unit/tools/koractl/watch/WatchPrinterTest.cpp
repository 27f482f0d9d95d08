#include "tools/koractl/watch/WatchPrinter.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace koraclient;
using namespace koractl;

TEST(WatchLine, GoldenLines)
{
    EXPECT_EQ(watchLine(1, OutputRow{7, 0, 12, OutputLpr{1, 5}}), "level   1  output     7  input    12  locked by 5");
    EXPECT_EQ(watchLine(1, OutputRow{8, 3, 0, OutputLpr{0, 0}}),
              "level   1  output     8  input     -  released            no route");
    EXPECT_EQ(watchLine(1, OutputRow{9, 0, 3, std::nullopt}), "level   1  output     9  input     3");
}

TEST(WatchJson, GoldenLine)
{
    EXPECT_EQ(watchJson(1, OutputRow{7, 0, 12, OutputLpr{1, 5}}),
              R"({"level":1,"output":7,"result":0,"input":12,"state":"locked","lprId":5,"text":"ok"})");
}

TEST(WatchLine, GivenNamesShowsThemInColumns)
{
    std::istringstream in("level 1\ninput 12 CAM 1\ninput 13 Kran\noutput 7 MON 3\noutput 8 X\n");
    const Names names = Names::read(in, "names");

    EXPECT_EQ(watchLine(1, OutputRow{7, 0, 12, OutputLpr{1, 5}}, names),
              "level   1  output     7 MON 3  input    12 CAM 1  locked by 5");
    EXPECT_EQ(watchLine(1, OutputRow{8, 0, 13, OutputLpr{0, 0}}, names),
              "level   1  output     8 X      input    13 Kran   released");
    EXPECT_EQ(watchLine(2, OutputRow{8, 0, 13, OutputLpr{0, 0}}, names),
              "level   2  output     8  input    13  released");
    EXPECT_EQ(watchJson(1, OutputRow{7, 0, 12, std::nullopt}, names),
              R"({"level":1,"output":7,"result":0,"input":12,"text":"ok","inputName":"CAM 1","outputName":"MON 3"})");
}
