#include "koracommand/RspBase.h"

#include "koracommand/ResultCode.h"
#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

namespace
{

/// Opens what derived classes use.
class OpenRsp final : public RspBase
{
public:
    using RspBase::RspBase;
    using RspBase::setLength;
    using RspBase::setWord;
};

TEST(RspBaseTest, WritesTheHeaderAndEchoesTheTag)
{
    const Bytes request = hostRequest(0x50, {}, 0xcafe0001);
    OpenRsp sut(WireReader(request), 0x80000050);
    sut.setLength(20);
    EXPECT_EQ(hostWordsOf(sut), (Words{12, 0, 20, 0x80000050, 0xcafe0001}));
}

TEST(RspBaseTest, LengthIsZeroUntilItIsSet)
{
    const Bytes request = hostRequest(0x50);
    const OpenRsp sut(WireReader(request), 0x80000050);
    EXPECT_EQ(sut.getLength(), 0U);
}

TEST(RspBaseTest, TagOfARequestWithoutOneIsZero)
{
    OpenRsp sut(WireReader(), 0x80000050);
    sut.setLength(20);
    EXPECT_EQ(hostWord(sut, 16), 0U);
}

TEST(RspBaseTest, SequenceGoesIntoTheHeaderInHostOrder)
{
    const Bytes request = hostRequest(0x50);
    OpenRsp sut(WireReader(request), 0x80000050);
    sut.setLength(20);
    sut.setSequence(0x01020304);
    EXPECT_EQ(hostWord(sut, 4), 0x01020304U);
}

TEST(RspBaseTest, WordsThatWereNeverWrittenAreZero)
{
    const Bytes request = hostRequest(0x50);
    OpenRsp sut(WireReader(request), 0x80000050);
    sut.setWord(28, 5);
    sut.setLength(36);
    EXPECT_EQ(hostWord(sut, 20), 0U);
    EXPECT_EQ(hostWord(sut, 24), 0U);
    EXPECT_EQ(hostWord(sut, 28), 5U);
    EXPECT_EQ(hostWord(sut, 32), 0U);
}

TEST(RspBaseTest, HoldsTheLargestMessage)
{
    const Bytes request = hostRequest(0x50);
    OpenRsp sut(WireReader(request), 0x80000050);
    sut.setWord(8188, 0x55aa55aa);
    sut.setLength(8192);
    EXPECT_EQ(sut.getLength(), 8192U);
    EXPECT_EQ(hostWord(sut, 8188), 0x55aa55aaU);
}

TEST(ErrorRspTest, CarriesTheTagAndTheCodeButNotTheRequestsId)
{
    const Bytes request = hostRequest(0x99, {1, 2, 3});
    const ErrorRsp sut(WireReader(request), 8);
    EXPECT_EQ(hostWordsOf(sut), (Words{12, 0, 24, 0x80000000, testTag, 8}));
}

class RspInNetworkOrderTest : public ::testing::Test
{
protected:
    Bytes m_request = hostRequest(0x99);
    ErrorRsp m_hostOrder{WireReader(m_request), 8};
};

TEST_F(RspInNetworkOrderTest, EveryWordIsBigEndian)
{
    const RspInNetworkOrder sut(m_hostOrder);
    EXPECT_EQ(bytesOf(sut), (Bytes{0,    0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 24, //
                                   0x80, 0, 0, 0,  1, 2, 3, 4, 0, 0, 0, 8}));
}

TEST_F(RspInNetworkOrderTest, LengthIsReadFromTheSwappedWord)
{
    const RspInNetworkOrder sut(m_hostOrder);
    EXPECT_EQ(sut.getLength(), 24U);
}

TEST_F(RspInNetworkOrderTest, SequenceIsBigEndianOnTheWire)
{
    RspInNetworkOrder sut(m_hostOrder);
    sut.setSequence(0x0a0b0c0d);
    const Bytes bytes = bytesOf(sut);
    EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.begin() + 8), (Bytes{0x0a, 0x0b, 0x0c, 0x0d}));
}

TEST_F(RspInNetworkOrderTest, IsACopyThatOutlivesItsSource)
{
    auto source = std::make_unique<ErrorRsp>(WireReader(m_request), 8);
    const RspInNetworkOrder sut(*source);
    source.reset();
    EXPECT_EQ(networkWordsOf(sut), (Words{12, 0, 24, 0x80000000, testTag, 8}));
}

TEST(ResultCodeTest, EachHasTheNumberThatControllersKnow)
{
    EXPECT_EQ(resultCode::done, 0U);
    EXPECT_EQ(resultCode::esfInvalidSrc, 3U);
    EXPECT_EQ(resultCode::esfInvalidDst, 4U);
    EXPECT_EQ(resultCode::noSuchLevel, 5U);
    EXPECT_EQ(resultCode::unknownMessage, 8U);
    EXPECT_EQ(resultCode::outputLocked, 12U);
    EXPECT_EQ(resultCode::outputProtected, 13U);
    EXPECT_EQ(resultCode::groupDisagrees, 25U);
}

} // namespace
