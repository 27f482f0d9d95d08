#include "koracommand/FixedCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;

TEST(PartitionInfoRspTest, IsTheSame88BytesForEveryRequest)
{
    const Words expected = expectedRsp(0x80000059, {2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1});
    ASSERT_EQ(expected[2], 88U);
    for (const Words& payload : {Words{}, Words{1}, Words{0xffffffff, 7, 8, 9}})
    {
        const Bytes request = hostRequest(0x59, payload);
        EXPECT_EQ(hostWordsOf(PartitionInfoRsp(WireReader(request))), expected);
    }
}

TEST(CcPresenceRspTest, EchoesTheCardAndSaysPresent)
{
    const Bytes request = hostRequest(0xa2, {0xcafe});
    EXPECT_EQ(hostWordsOf(CcPresenceRsp(WireReader(request))), expectedRsp(0x800000a2, {0xcafe, 0, 1, 0, 0}));
}

TEST(CcPresenceRspTest, CardThatAShortRequestLacksIsZero)
{
    const Bytes request = hostRequest(0xa2);
    EXPECT_EQ(hostWordsOf(CcPresenceRsp(WireReader(request))), expectedRsp(0x800000a2, {0, 0, 1, 0, 0}));
}

TEST(RouterPortPresentRspTest, CarriesOneZeroWord)
{
    const Bytes request = hostRequest(0x4000, {1, 2, 3});
    EXPECT_EQ(hostWordsOf(RouterPortPresentRsp(WireReader(request))), expectedRsp(0x80004000, {0}));
}

constexpr std::uint32_t statusRspId = 0x80005000;
constexpr std::uint32_t fixedSeconds = 1700000000;

/// The answer, and what it printed on the console.
struct Answer
{
    Words words;
    std::string printed;
};

Answer answer(const Words& payload, std::chrono::system_clock::time_point now = fixedClock())
{
    const Bytes request = hostRequest(0x5000, payload);
    ::testing::internal::CaptureStdout();
    Words words = hostWordsOf(ReadySystemStatusRsp(WireReader(request), now));
    return {std::move(words), ::testing::internal::GetCapturedStdout()};
}

const Words format4 = expectedRsp(
    statusRspId, {4, 103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0, 0, fixedSeconds, 0, 0, 0, 0, 0, 0, 0, 1, 65535});

TEST(ReadySystemStatusRspTest, Format0HasItsListOneWordShorterAtTheFrontAndNoTime)
{
    const Answer sut = answer({0});
    EXPECT_EQ(sut.words, expectedRsp(statusRspId, {0, 103, 177, 1, 0, 0, 0, 1, 0, 1, 0, 0}));
    EXPECT_EQ(sut.words[2], 68U);
    EXPECT_EQ(sut.printed, "");
}

TEST(ReadySystemStatusRspTest, Format2HasTheTimeAt60)
{
    const Answer sut = answer({2});
    EXPECT_EQ(sut.words,
              expectedRsp(statusRspId, {2, 103, 103, 177, 1, 0, 1, 1, 0, 1, fixedSeconds, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(sut.words[2], 88U);
    EXPECT_EQ(sut.words[60 / 4], fixedSeconds);
}

TEST(ReadySystemStatusRspTest, Format4HasTheTimeAt72)
{
    const Answer sut = answer({4});
    EXPECT_EQ(sut.words, format4);
    EXPECT_EQ(sut.words[2], 112U);
    EXPECT_EQ(sut.words[72 / 4], fixedSeconds);
    EXPECT_EQ(sut.printed, "");
}

TEST(ReadySystemStatusRspTest, Format6IsOneWordLongerAndSendsZeroAt100)
{
    const Answer sut = answer({6});
    EXPECT_EQ(sut.words, expectedRsp(statusRspId, {6, 103,          103, 177, 1, 0, 1, 1, 0, 1, 0, 0,
                                                   0, fixedSeconds, 0,   0,   0, 0, 0, 0, 0, 0, 1, 65535}));
    EXPECT_EQ(sut.words[2], 116U);
    EXPECT_EQ(sut.words[100 / 4], 0U);
}

struct UnsupportedFormat
{
    std::uint32_t format;
    const char* asPrinted;
};

class UnsupportedSystemStatusFormatTest : public ::testing::TestWithParam<UnsupportedFormat>
{};

TEST_P(UnsupportedSystemStatusFormatTest, IsReportedOnTheConsoleAndAnsweredAsFormat4)
{
    const Answer sut = answer({GetParam().format});
    EXPECT_EQ(sut.words, format4);
    EXPECT_EQ(sut.printed, std::string("ReadySystemStatusRsp: unsupported status format: ") + GetParam().asPrinted +
                               ", using System Status Format 4\n");
}

INSTANTIATE_TEST_SUITE_P(OddAndHigh, UnsupportedSystemStatusFormatTest,
                         ::testing::Values(UnsupportedFormat{1, "1"}, UnsupportedFormat{3, "3"},
                                           UnsupportedFormat{5, "5"}, UnsupportedFormat{7, "7"},
                                           UnsupportedFormat{8, "8"}, UnsupportedFormat{0xffffffff, "-1"}));

TEST(ReadySystemStatusRspTest, FormatThatAShortRequestLacksIsZero)
{
    EXPECT_EQ(answer({}).words[5], 0U);
}

TEST(ReadySystemStatusRspTest, TimeIsCutToWholeSecondsAndTo32Bits)
{
    EXPECT_EQ(answer({4}, fixedClock() + 999ms).words[72 / 4], fixedSeconds);
    EXPECT_EQ(answer({4}, std::chrono::system_clock::time_point(4294967297s)).words[72 / 4], 1U);
}

} // namespace
