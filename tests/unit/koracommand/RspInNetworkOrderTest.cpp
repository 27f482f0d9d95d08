#include "koracommand/RspBase.h"

#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

namespace
{

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

} // namespace
