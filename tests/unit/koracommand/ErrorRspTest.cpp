#include "koracommand/RspBase.h"

#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

namespace
{

TEST(ErrorRspTest, CarriesTheTagAndTheCodeButNotTheRequestsId)
{
    const Bytes request = hostRequest(0x99, {1, 2, 3});
    const ErrorRsp sut(WireReader(request), 8);
    EXPECT_EQ(hostWordsOf(sut), (Words{12, 0, 24, 0x80000000, testTag, 8}));
}

} // namespace
