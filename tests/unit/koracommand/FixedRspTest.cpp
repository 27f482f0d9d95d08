#include "koracommand/FixedCommands.h"

#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

namespace
{

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

} // namespace
