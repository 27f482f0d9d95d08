#include "runtime/util/Ipv4Address.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

using namespace com::tallowcrest::util;

TEST(Ipv4AddressTest, DottedTextHasNoZerosInFront)
{
    EXPECT_EQ(dottedText(htonl(0x7f000001)), "127.0.0.1");
}

TEST(Ipv4AddressTest, PaddedTextHasThreeDigitsForEachPart)
{
    EXPECT_EQ(paddedText(htonl(0x7f000001)), "127.000.000.001");
    EXPECT_EQ(paddedText(htonl(0x0aff6409)), "010.255.100.009");
}
