#include "runtime/misc/TelnetLineReader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

using com::tallowcrest::misc::TelnetLineReader;
using namespace std::string_literals;

namespace
{
using Lines = std::vector<std::string>;

Lines takeAll(TelnetLineReader& reader)
{
    Lines lines;
    while (auto line = reader.takeLine())
    {
        lines.push_back(*line);
    }
    return lines;
}

/// The lines of a stream that is fed in pieces ending at the given offsets.
Lines linesOf(std::string_view stream, const std::vector<std::size_t>& cuts = {})
{
    TelnetLineReader sut;
    std::size_t begin = 0;
    for (const std::size_t cut : cuts)
    {
        sut.feed(stream.substr(begin, cut - begin));
        begin = cut;
    }
    sut.feed(stream.substr(begin));
    return takeAll(sut);
}

struct Case
{
    const char* name;
    std::string stream;
    Lines lines;
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

class TelnetLineReaderStream : public testing::TestWithParam<Case>
{};

const std::string longLine(TelnetLineReader::maxLineSize + 700, 'x');
const std::string cutLine(TelnetLineReader::maxLineSize, 'x');

const std::vector<Case> cases{
    {"CrLf", "show t\r\nq\r\n", {"show t", "q"}},
    {"Lf", "show t\nq\n", {"show t", "q"}},
    {"CrNul", "show t\r\0q\r\0"s, {"show t", "q"}},
    {"CrAlone", "show t\rq\r", {"show t", "q"}},
    {"EmptyLines", "\r\n\n\r\0\r\r\n"s, {"", "", "", "", ""}},
    {"NulThenLfIsASecondEnd", "a\r\0\nb\n"s, {"a", "", "b"}},
    {"NoEndYet", "show", {}},
    {"LongLineLosesItsRest", longLine + "\r\nq\r\n", {cutLine, "q"}},
    {"EditedBackFromOverLong", longLine + std::string(701, '\b') + "\n", {cutLine.substr(1)}},
    {"WillWontDoDont",
     "a\xff\xfb\x01"
     "b\xff\xfc\x1f"
     "c\xff\xfd\x03"
     "d\xff\xfe\x22"
     "e\r\n",
     {"abcde"}},
    {"OptionIs255",
     "a\xff\xfd\xff"
     "b\n",
     {"ab"}},
    {"OptionIsALineEnd", "a\xff\xfb\nb\n", {"ab"}},
    {"Subnegotiation",
     "1\xff\xfa\x18\x00xterm\r\n\xff\xf0"
     "2\r\n"s,
     {"12"}},
    {"SubnegotiationWith255",
     "1\xff\xfa\x1f\xff\xff\xff\xff\xff\xf0"
     "2\n",
     {"12"}},
    {"SubnegotiationNeverEnded",
     "1\xff\xfa\x18zz\xff\xfb\x01"
     "2\n",
     {"12"}},
    {"SubnegotiationTooLong", "\xff\xfa" + std::string(TelnetLineReader::maxSubnegotiationSize, 'z') + "q\n", {"q"}},
    {"DoubledIacIsAByte",
     "a\xff\xff"
     "b\n",
     {"a\xff"
      "b"}},
    {"InterruptAreYouThereAbortBreakGoAhead",
     "a\xff\xf4\xff\xf6\xff\xf5\xff\xf3\xff\xf9\xff\xf1\xff\xf2"
     "b\n",
     {"ab"}},
    {"InterruptWithTimingMark", "a\xff\xf4\xff\xfd\x06\r\nq\r\n", {"a", "q"}},
    {"StrayIacBeforeText",
     "a\xff"
     "b\r\n",
     {"ab"}},
    {"StrayIacBeforeLineEnd", "a\xff\r\nq\n", {"a", "q"}},
    {"NegotiationBetweenCrAndLf", "a\r\xff\xfb\x01\nb\n", {"a", "b"}},
    {"EraseCharacterCommand",
     "abc\xff\xf7"
     "d\n",
     {"abd"}},
    {"EraseLineCommand",
     "abc\xff\xf8"
     "d\n",
     {"d"}},
    {"BackspaceAndDelete",
     "abx\bcy\x7f"
     "d\n",
     {"abcd"}},
    {"BackspaceTakesAWholeCharacter",
     "a\xc3\xa9\x08"
     "b\n",
     {"ab"}},
    {"BackspaceOnEmptyLine", "\b\b\x7fq\n", {"q"}},
    {"BackspaceNeverReachesTheLineBefore", "ab\n\b\bq\n", {"ab", "q"}},
    {"ControlBytesAreDropped",
     "a\0b\x01\x1b\x07"
     "c\x1f\td\n"s,
     {"abc\td"}},
    {"Utf8Stays", "caf\xc3\xa9\n", {"caf\xc3\xa9"}},
};

TEST_P(TelnetLineReaderStream, whenFedWhole_givesTheLines)
{
    EXPECT_EQ(GetParam().lines, linesOf(GetParam().stream));
}

TEST_P(TelnetLineReaderStream, whenFedByteByByte_givesTheSameLines)
{
    std::vector<std::size_t> everyByte;
    for (std::size_t i = 0; i < GetParam().stream.size(); ++i)
    {
        everyByte.push_back(i);
    }

    EXPECT_EQ(GetParam().lines, linesOf(GetParam().stream, everyByte));
}

TEST_P(TelnetLineReaderStream, whenCutAtAnyTwoPlaces_givesTheSameLines)
{
    const std::string& stream = GetParam().stream;
    const std::size_t step = stream.size() > 100 ? 97 : 1;
    for (std::size_t first = 0; first <= stream.size(); first += step)
    {
        for (std::size_t second = first; second <= stream.size(); second += step)
        {
            ASSERT_EQ(GetParam().lines, linesOf(stream, {first, second})) << first << " " << second;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, TelnetLineReaderStream, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<Case>& value) { return value.param.name; });

/// A stream made mostly of the bytes that mean something.
std::string arbitraryStream(std::mt19937& random)
{
    static const std::string telling = "\r\n\0\b\x7f\xff\xff\xff\xfa\xf0\xfb\xfd\xf4\xf7\xf8q1"s;
    std::string stream;
    for (int i = 0; i < 300; ++i)
    {
        const auto value = random();
        stream += value % 4 == 0 ? static_cast<char>(value >> 8U) : telling[(value >> 8U) % telling.size()];
    }
    return stream;
}

TEST(TelnetLineReader, whenFedArbitraryBytes_givesTheSameCleanLinesHoweverTheyAreCut)
{
    std::mt19937 random(20240817);
    for (int round = 0; round < 500; ++round)
    {
        const std::string stream = arbitraryStream(random);
        const Lines whole = linesOf(stream);
        std::vector<std::size_t> cuts{0};
        while (cuts.back() < stream.size())
        {
            cuts.push_back(std::min(stream.size(), cuts.back() + 1 + random() % 7));
        }
        ASSERT_EQ(whole, linesOf(stream, cuts)) << "round " << round;
        for (const std::string& line : whole)
        {
            ASSERT_LE(line.size(), TelnetLineReader::maxLineSize);
            for (const char character : line)
            {
                const auto byte = static_cast<unsigned char>(character);
                ASSERT_TRUE(byte == '\t' || (byte >= 0x20 && byte != 0x7f)) << "round " << round;
            }
        }
    }
}

TEST(TelnetLineReader, whenATimingMarkIsRequested_tellsOnce)
{
    TelnetLineReader sut;
    sut.feed("a\xff\xfb\x06\xff\xfe\x06\xff\xfd\x01");
    EXPECT_FALSE(sut.takeTimingMarkRequest());

    sut.feed("\xff\xfd");
    EXPECT_FALSE(sut.takeTimingMarkRequest());
    sut.feed("\x06\xff\xfd\x06");

    EXPECT_TRUE(sut.takeTimingMarkRequest());
    EXPECT_FALSE(sut.takeTimingMarkRequest());
}

TEST(TelnetLineReader, whenALineNeverEnds_doesNotGrow)
{
    TelnetLineReader sut;
    for (int i = 0; i < 1000; ++i)
    {
        sut.feed(std::string(1000, 'x'));
    }
    sut.feed("\nq\n");

    EXPECT_EQ((Lines{cutLine, "q"}), takeAll(sut));
}

} // namespace
