#include "runtime/util/Timecode.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

namespace
{

using com::tallowcrest::util::Timecode;
using Code = Timecode::Code;

Timecode make(Code code, std::uint32_t fields)
{
    return Timecode((static_cast<std::uint32_t>(code) << 24) | fields);
}

std::string textOf(const Timecode& timecode)
{
    std::array<char, Timecode::textSize> text{};
    timecode.toString(text.data(), text.size());
    return text.data();
}

std::string textWithFieldOf(const Timecode& timecode)
{
    std::array<char, Timecode::textSize> text{};
    timecode.toStringWithField(text.data(), text.size());
    return text.data();
}

struct TextCase
{
    Code code;
    std::uint32_t fields;
    const char* text;
    const char* textWithField;
};

void PrintTo(const TextCase& testCase, std::ostream* out)
{
    *out << testCase.textWithField << " code " << static_cast<std::uint32_t>(testCase.code);
}

class TimecodeTextTest : public testing::TestWithParam<TextCase>
{};

INSTANTIATE_TEST_SUITE_P(Times, TimecodeTextTest,
                         testing::Values(TextCase{Code::Fps25, 0, "00:00:00:00", "00:00:00:00.0"},
                                         TextCase{Code::Fps2997Drop, 0, "00:00:00;00", "00:00:00;00.0"},
                                         TextCase{Code::Fps30, 0, "00:00:00:00", "00:00:00:00.0"},
                                         TextCase{Code::Fps25, 4319999, "23:59:59:24", "23:59:59:24.1"},
                                         TextCase{Code::Fps2997Drop, 5178815, "23:59:59;29", "23:59:59;29.1"},
                                         TextCase{Code::Fps30, 5183999, "23:59:59:29", "23:59:59:29.1"},
                                         TextCase{Code::Fps2997Drop, 3599, "00:00:59;29", "00:00:59;29.1"},
                                         TextCase{Code::Fps2997Drop, 3600, "00:01:00;02", "00:01:00;02.0"},
                                         TextCase{Code::Fps2997Drop, 7195, "00:01:59;29", "00:01:59;29.1"},
                                         TextCase{Code::Fps2997Drop, 7196, "00:02:00;02", "00:02:00;02.0"},
                                         TextCase{Code::Fps2997Drop, 35963, "00:09:59;29", "00:09:59;29.1"},
                                         TextCase{Code::Fps2997Drop, 35964, "00:10:00;00", "00:10:00;00.0"},
                                         TextCase{Code::Fps25, 51, "00:00:01:00", "00:00:01:00.1"}));

TEST_P(TimecodeTextTest, printsHoursMinutesSecondsAndFrames)
{
    const Timecode sut = make(GetParam().code, GetParam().fields);

    EXPECT_EQ(textOf(sut), GetParam().text);
    EXPECT_EQ(textWithFieldOf(sut), GetParam().textWithField);
}

TEST_P(TimecodeTextTest, readsItsOwnTextBack)
{
    const Code code = GetParam().code;

    EXPECT_EQ(Timecode::parse(GetParam().textWithField, code).word(), make(code, GetParam().fields).word());
    EXPECT_EQ(Timecode::parse(GetParam().text, code).word(), make(code, GetParam().fields & ~1U).word());
}

TEST(TimecodeTextFormTest, anUndefinedTimecodeIsStars)
{
    EXPECT_EQ(textOf(Timecode()), "**:**:**:**");
    EXPECT_EQ(textWithFieldOf(Timecode()), "**:**:**:**");
    EXPECT_EQ(textOf(Timecode(0x05000001)), "**:**:**:**");
}

TEST(TimecodeTextFormTest, theHighestCountsFitTheBuffer)
{
    EXPECT_EQ(textWithFieldOf(make(Code::Fps25, 0xffffff)), "93:12:24:07.1");
    EXPECT_EQ(textWithFieldOf(make(Code::Fps2997Drop, 0xffffff)).size(), Timecode::textSize - 1);
    EXPECT_EQ(textWithFieldOf(make(Code::Fps30, 0xffffff)), "77:40:20:07.1");
}

TEST(TimecodeTextFormTest, aBufferBelowFourteenBytesGetsTheEmptyString)
{
    const Timecode sut = make(Code::Fps25, 0);
    std::array<char, Timecode::textSize> text{};

    std::strcpy(text.data(), "before");
    sut.toString(text.data(), 13);
    EXPECT_STREQ(text.data(), "");
    std::strcpy(text.data(), "before");
    sut.toStringWithField(text.data(), 1);
    EXPECT_STREQ(text.data(), "");
    std::strcpy(text.data(), "before");
    Timecode().toString(text.data(), 13);
    EXPECT_STREQ(text.data(), "");
}

TEST(TimecodeTextFormTest, aBufferWithoutBytesIsLeftAlone)
{
    char guard = 'x';

    make(Code::Fps25, 0).toString(&guard, 0);
    make(Code::Fps25, 0).toString(nullptr, 0);

    EXPECT_EQ(guard, 'x');
}

TEST(TimecodeTextFormTest, midnightInDropFrameIsReadFromItsText)
{
    EXPECT_EQ(Timecode::parse("00:00:00:00.0", Code::Fps2997Drop).word(), 0x02000000U);
}

TEST(TimecodeTextFormTest, theSeparatorBeforeTheFramesMayBeEitherOne)
{
    EXPECT_EQ(Timecode::parse("01:02:03;04", Code::Fps30).word(), Timecode::parse("01:02:03:04", Code::Fps30).word());
    EXPECT_EQ(textOf(Timecode::parse("01:02:03:04", Code::Fps2997Drop)), "01:02:03;04");
}

TEST(TimecodeTextFormTest, aTextThatIsNoTimeOfTheCodeGivesAnUndefinedTimecode)
{
    for (const char* const text : {"",
                                   "0",
                                   "00:00:00",
                                   "00:00:00:0",
                                   "00:00:00:000",
                                   "00:00:00:00.",
                                   "00:00:00:00.2",
                                   "00:00:00:00,0",
                                   "00:00:00:00.00",
                                   "24:00:00:00",
                                   "00:60:00:00",
                                   "00:00:60:00",
                                   "00:00:00:25",
                                   "0a:00:00:00",
                                   "00:0 :00:00",
                                   "-1:00:00:00",
                                   "00-00:00:00",
                                   "00:00-00:00",
                                   "00:00:00-00",
                                   "**:**:**:**",
                                   " 00:00:00:00"})
    {
        EXPECT_TRUE(Timecode::parse(text, Code::Fps25).isUndefined()) << text;
    }
    EXPECT_FALSE(Timecode::parse("00:00:00:29", Code::Fps30).isUndefined());
    EXPECT_TRUE(Timecode::parse("00:00:00:30", Code::Fps30).isUndefined());
}

TEST(TimecodeTextFormTest, withAnUndefinedCodeEveryTextGivesAnUndefinedTimecode)
{
    EXPECT_EQ(Timecode::parse("01:00:00:00", Code::Undefined).word(), 0U);
}

} // namespace
