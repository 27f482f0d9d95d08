#include "bustypes/BoundedString.h"

#include <gtest/gtest.h>

#include <string>

using com::tallowcrest::dds_::routing::copyFromBus;
using com::tallowcrest::dds_::routing::copyToBus;
using com::tallowcrest::dds_::routing::cutToBound;

TEST(BoundedString, KeepsTextOfExactlyTheBound)
{
    EXPECT_EQ(cutToBound("0123456789abcdef", 16), "0123456789abcdef");
}

TEST(BoundedString, CutsAsciiAtTheBound)
{
    EXPECT_EQ(cutToBound("0123456789abcdefX", 16), "0123456789abcdef");
}

TEST(BoundedString, KeepsEmptyText)
{
    EXPECT_EQ(cutToBound("", 16), "");
}

TEST(BoundedString, CutsToNothingWhenTheBoundIsZero)
{
    EXPECT_EQ(cutToBound("abc", 0), "");
}

TEST(BoundedString, DropsATwoByteCharacterThatDoesNotFitWhole)
{
    EXPECT_EQ(cutToBound("abc\xC3\xA9", 4), "abc");
}

TEST(BoundedString, DropsAFourByteCharacterThatLacksItsLastByte)
{
    EXPECT_EQ(cutToBound("abc\xF0\x9F\x8E\xA5", 6), "abc");
}

TEST(BoundedString, KeepsACharacterThatEndsAtTheBound)
{
    EXPECT_EQ(cutToBound("ab\xC3\xA9xyz", 4), "ab\xC3\xA9");
}

TEST(BoundedString, CutsAtTheBoundWhenTheTextIsNotUtf8)
{
    EXPECT_EQ(cutToBound("\x80\x80\x80\x80\x80\x80", 5), "\x80\x80\x80\x80\x80");
}

TEST(BoundedString, EndsAtAnEmbeddedNul)
{
    EXPECT_EQ(cutToBound(std::string("ab\0cd", 5), 16), "ab");
}

TEST(BoundedString, CopyToBusTerminatesAndClearsTheRestOfTheArray)
{
    char array[6] = {'x', 'x', 'x', 'x', 'x', 'x'};

    copyToBus("ab", array);

    EXPECT_EQ(std::string(array, sizeof(array)), std::string("ab\0\0\0\0", 6));
}

TEST(BoundedString, CopyToBusLeavesRoomForTheTerminator)
{
    char array[4] = {};

    copyToBus("abcdef", array);

    EXPECT_STREQ(array, "abc");
}

TEST(BoundedString, CopyFromBusReadsAnArrayWithoutTerminatorToItsEnd)
{
    const char array[3] = {'a', 'b', 'c'};

    EXPECT_EQ(copyFromBus(array), "abc");
}
