#include "koraclient/ResultText.h"

#include <gtest/gtest.h>

using namespace koraclient;

TEST(ResultText, TakeRefusalsAreSentences)
{
    EXPECT_EQ(takeResultText(0, 1, 12, 7, std::nullopt), "done");
    EXPECT_EQ(takeResultText(3, 1, 900, 7, std::nullopt), "input 900 is not on level 1 or not available");
    EXPECT_EQ(takeResultText(4, 1, 12, 900, std::nullopt), "output 900 is not on level 1 or not available");
    EXPECT_EQ(takeResultText(5, 9, 12, 7, std::nullopt), "level 9 does not exist");
    EXPECT_EQ(takeResultText(12, 1, 12, 7, 5), "output 7 is locked by 5");
    EXPECT_EQ(takeResultText(12, 1, 12, 7, std::nullopt), "output 7 is locked");
    EXPECT_EQ(takeResultText(13, 1, 12, 7, 12), "output 7 is protected by 12");
    EXPECT_EQ(takeResultText(13, 1, 12, 7, std::nullopt), "output 7 is protected");
    EXPECT_EQ(takeResultText(77, 1, 12, 7, std::nullopt), "refused with result code 77");
}

TEST(ResultText, LprRefusalsAreSentences)
{
    EXPECT_EQ(lprResultText(0, 1, 7, std::nullopt), "done");
    EXPECT_EQ(lprResultText(3, 1, 7, std::nullopt), "refused with result code 3");
    EXPECT_EQ(lprResultText(4, 1, 7, std::nullopt), "output 7 is not on level 1 or not available");
    EXPECT_EQ(lprResultText(12, 1, 7, 5), "output 7 is locked by 5");
    EXPECT_EQ(lprResultText(13, 1, 7, 0), "output 7 is protected by 0");
}

TEST(ResultText, StatusWithoutRouteIsAnAnswerAndNoRefusal)
{
    EXPECT_EQ(statusResultText(3, 1, 7), "no route");
    EXPECT_TRUE(isStatusAnswered(3));
    EXPECT_TRUE(isStatusAnswered(0));
    EXPECT_FALSE(isStatusAnswered(4));
    EXPECT_FALSE(isStatusAnswered(5));
    EXPECT_FALSE(isStatusAnswered(25));
}

TEST(ResultText, StatusResultsAreSentences)
{
    EXPECT_EQ(statusResultText(0, 1, 7), "ok");
    EXPECT_EQ(statusResultText(4, 1, 7), "output 7 is not on level 1 or not available");
    EXPECT_EQ(statusResultText(5, 1, 7), "level 1 does not exist");
    EXPECT_EQ(statusResultText(25, 1, 7), "the crosspoints of output 7 disagree");
    EXPECT_EQ(statusResultText(99, 1, 7), "refused with result code 99");
}

TEST(ResultText, LprStatesAreNamed)
{
    EXPECT_EQ(lprStateText(0), "released");
    EXPECT_EQ(lprStateText(1), "locked");
    EXPECT_EQ(lprStateText(2), "protected");
    EXPECT_EQ(lprStateText(16), "16");
}
