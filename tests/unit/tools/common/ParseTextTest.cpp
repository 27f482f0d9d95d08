#include "tools/common/ParseText.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace koractl;
using namespace std::chrono_literals;

TEST(ParseText, NumberIsDecimalOrHexadecimalWithPrefix)
{
    EXPECT_EQ(parseNumber("0"), 0U);
    EXPECT_EQ(parseNumber("4294967295"), 0xffffffffU);
    EXPECT_EQ(parseNumber("0x1F"), 31U);
}

class BadNumber : public testing::TestWithParam<const char*>
{};

TEST_P(BadNumber, IsRefused)
{
    EXPECT_THROW((void)parseNumber(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(Texts, BadNumber,
                         testing::Values("", "-1", "+1", " 1", "1 ", "1x", "0x", "0xg", "4294967296", "1.5"));

TEST(ParseText, DurationTakesUnits)
{
    EXPECT_EQ(parseDuration("500ms"), 500ms);
    EXPECT_EQ(parseDuration("2s"), 2s);
    EXPECT_EQ(parseDuration("2"), 2s);
    EXPECT_EQ(parseDuration("0.25s"), 250ms);
    EXPECT_EQ(parseDuration("1min"), 1min);
    EXPECT_EQ(parseDuration("1440min"), 24h);
}

class BadDuration : public testing::TestWithParam<const char*>
{};

TEST_P(BadDuration, IsRefused)
{
    EXPECT_THROW((void)parseDuration(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(Texts, BadDuration,
                         testing::Values("", "s", "0", "-1s", "0.1ms", "1441min", "2h", "2 s", "nan", "inf", "1e300s"));

TEST(ParseText, RangeIsTwoNumbersOrOne)
{
    EXPECT_EQ(parseRange("1-64"), (NumberRange{.first = 1, .last = 64}));
    EXPECT_EQ(parseRange("7"), (NumberRange{.first = 7, .last = 7}));
    EXPECT_TRUE(parseRange("3-5").contains(5));
    EXPECT_FALSE(parseRange("3-5").contains(6));
}

TEST(ParseText, GivenNoRangeSaysSo)
{
    for (const char* const text : {"", "-", "1-", "-5", "5-4", "a-b", "1-2-3"})
    {
        EXPECT_THROW((void)parseRange(text), std::invalid_argument) << text;
    }
}

TEST(ParseText, HexWordNeedsNoPrefix)
{
    EXPECT_EQ(parseHexWord("50"), 0x50U);
    EXPECT_EQ(parseHexWord("0x80000050"), 0x80000050U);
    EXPECT_THROW((void)parseHexWord("123456789"), std::invalid_argument);
    EXPECT_THROW((void)parseHexWord("xyz"), std::invalid_argument);
}

TEST(ParseText, HexBytesSkipBlanksAndColonsBetweenPairs)
{
    EXPECT_EQ(parseHexBytes("0c 00:Ff01"), (std::vector<std::uint8_t>{0x0c, 0x00, 0xff, 0x01}));
    EXPECT_TRUE(parseHexBytes("").empty());
    EXPECT_THROW((void)parseHexBytes("0"), std::invalid_argument);
    EXPECT_THROW((void)parseHexBytes("0 c"), std::invalid_argument);
    EXPECT_THROW((void)parseHexBytes("zz"), std::invalid_argument);
}
