#include "runtime/util/VisibleText.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using com::tallowcrest::util::isPrintableAscii;
using com::tallowcrest::util::isVisibleText;
using com::tallowcrest::util::visibleText;

using namespace std::string_view_literals;

namespace
{

struct Example
{
    std::string_view text;
    std::string_view visible;
};

class VisibleTextTest : public testing::TestWithParam<Example>
{};

} // namespace

TEST_P(VisibleTextTest, WhatATerminalWouldObeyIsWrittenOut)
{
    EXPECT_EQ(visibleText(GetParam().text), GetParam().visible);
}

TEST_P(VisibleTextTest, GivenItsOwnResultChangesNothing)
{
    EXPECT_EQ(visibleText(GetParam().visible), GetParam().visible);
}

TEST_P(VisibleTextTest, SaysBeforehandWhetherItChangesAnything)
{
    EXPECT_EQ(isVisibleText(GetParam().text), GetParam().text == GetParam().visible);
    EXPECT_TRUE(isVisibleText(GetParam().visible));
}

INSTANTIATE_TEST_SUITE_P(Ascii, VisibleTextTest,
                         testing::Values(Example{"", ""}, Example{"Router 1 (main) ~", "Router 1 (main) ~"},
                                         Example{"a\\b", "a\\b"}, Example{"a\nb\r\tc", "a\\nb\\r\\tc"},
                                         Example{"\x1b[2J\x07", "\\x1b[2J\\x07"}, Example{"\0x"sv, "\\x00x"},
                                         Example{"\x7f", "\\x7f"}));

INSTANTIATE_TEST_SUITE_P(Drawn, VisibleTextTest,
                         testing::Values(Example{"K\u00fcche \u00a0", "K\u00fcche \u00a0"},
                                         Example{"\u20ac \u4e2d\u6587", "\u20ac \u4e2d\u6587"},
                                         Example{"\U0001F3A5", "\U0001F3A5"}));

INSTANTIATE_TEST_SUITE_P(NotDrawn, VisibleTextTest,
                         testing::Values(Example{"\u009b2J", "\\xc2\\x9b2J"},      // another spelling of escape [
                                         Example{"a\u202eb", "a\\xe2\\x80\\xaeb"}, // what follows runs backwards
                                         Example{"a\u2028b", "a\\xe2\\x80\\xa8b"}, // a line end
                                         Example{"\u200b", "\\xe2\\x80\\x8b"},     // of no width
                                         Example{"\ufeff", "\\xef\\xbb\\xbf"},     //
                                         Example{"\U000E0041", "\\xf3\\xa0\\x81\\x81"}));

INSTANTIATE_TEST_SUITE_P(NoUtf8, VisibleTextTest,
                         testing::Values(Example{"\xff", "\\xff"}, Example{"a\x9bz", "a\\x9bz"},
                                         Example{"\xc3", "\\xc3"}, Example{"\xc3(", "\\xc3("},
                                         Example{"\xe2\x82", "\\xe2\\x82"},
                                         Example{"\xc0\x9b", "\\xc0\\x9b"},          // longer than it need be
                                         Example{"\xe0\x82\x9b", "\\xe0\\x82\\x9b"}, //
                                         Example{"\xed\xa0\x80", "\\xed\\xa0\\x80"}, // a surrogate
                                         Example{"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
                                         Example{"\xf8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"}));

TEST(PrintableAscii, EndsBelowTheSpaceAndAboveTheTilde)
{
    EXPECT_TRUE(isPrintableAscii(""));
    EXPECT_TRUE(isPrintableAscii(" ~"));
    EXPECT_FALSE(isPrintableAscii("\x1f"));
    EXPECT_FALSE(isPrintableAscii("\x7f"));
    EXPECT_FALSE(isPrintableAscii("\u00fc"));
}
