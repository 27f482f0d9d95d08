#include "koracommand/RspBase.h"

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

} // namespace
