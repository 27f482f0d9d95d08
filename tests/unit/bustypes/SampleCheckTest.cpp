#include "bustypes/SampleCheck.h"

#include "TypeSamples.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace
{

using namespace com::tallowcrest::dds_::routing;

constexpr std::uint32_t greatest = std::numeric_limits<std::uint32_t>::max();

MacroLevel level(std::uint32_t numOutputs)
{
    return {.levelId = 1, .numMacroXptInputs = 1, .numMacroXptOutputs = numOutputs};
}

} // namespace

template <typename T>
class SoundSampleTest : public testing::Test
{};
using Types = testing::Types<ComponentInfo, MacroRouter, RouterMember, MacroXptOutput, RouterMemberMacroXpts>;
TYPED_TEST_SUITE(SoundSampleTest, Types);

TYPED_TEST(SoundSampleTest, UsualAndExtremeMembersAreSound)
{
    EXPECT_EQ(faultOf(typesamples::Sample<TypeParam>::value()), "");
    EXPECT_EQ(faultOf(TypeParam{}), "");
}

TEST(SampleCheck, PartitionsOfPrintableAsciiAreSoundAndSoIsNone)
{
    for (const char* const partition : {"", "R1", "Studio 4 (main)", "0123456789abcdef", "a]b,c-d~"})
    {
        EXPECT_EQ(faultOf(RouterMember{17, partition, 0}), "") << partition;
        EXPECT_EQ(faultOf(MacroRouter{partition, "Main", T144x144}), "") << partition;
    }
}

TEST(SampleCheck, PartitionsThatMatchOthersAreRefused)
{
    for (const char* const partition : {"*", "R*", "R?", "?", "[R]1", "R["})
    {
        EXPECT_EQ(faultOf(RouterMember{17, partition, 0}), "the partition holds a wildcard") << partition;
        EXPECT_EQ(faultOf(MacroRouter{partition, "Main", T144x144}), "the partition holds a wildcard") << partition;
    }
}

TEST(SampleCheck, PartitionsThatAreNoPrintableAsciiAreRefused)
{
    for (const char* const partition : {"R1\n", "\x1b[2J", "K\u00fcche", "\x7f", "a\tb", "\x9b"})
    {
        EXPECT_EQ(faultOf(RouterMember{17, partition, 0}), "the partition is not printable ASCII") << partition;
    }
}

TEST(SampleCheck, NamesAreTextThatDrawsSomething)
{
    EXPECT_EQ(faultOf(ComponentInfo{17, 3, "K\u00fcche", "bei der Kreuzschiene"}), "");
    EXPECT_EQ(faultOf(ComponentInfo{17, 3, "a\x1b[2Jb", ""}), "a name is not printable");
    EXPECT_EQ(faultOf(ComponentInfo{17, 3, "", "two\nlines"}), "a name is not printable");
    EXPECT_EQ(faultOf(MacroRouter{"R1", "\xff", T144x144}), "a name is not printable");
}

TEST(SampleCheck, TopologyThatDoesNotExistIsRefused)
{
    EXPECT_EQ(faultOf(MacroRouter{"R1", "Main", T1728x288}), "");
    EXPECT_EQ(faultOf(MacroRouter{"R1", "Main", static_cast<Topology>(18)}), "no such topology");
}

TEST(SampleCheck, OutputsMayHaveAnyNumber)
{
    EXPECT_EQ(faultOf(MacroXptOutput{greatest, greatest, greatest, greatest, static_cast<LPRState>(greatest)}), "");
}

TEST(SampleCheck, LevelsHaveAsManyOutputsAsTheLargestRouterAtMost)
{
    EXPECT_EQ(faultOf(level(1)), "");
    EXPECT_EQ(faultOf(level(73728)), "");
    for (const std::uint32_t numOutputs : {0U, 73729U, greatest})
    {
        EXPECT_EQ(faultOf(level(numOutputs)), "no outputs, or more than the largest router has") << numOutputs;
    }
}

TEST(SampleCheck, BlocksOfALevelEndAtTheGreatestNumber)
{
    for (std::uint32_t MacroLevel::*const start :
         {&MacroLevel::macroXptInputStart, &MacroLevel::controllerInputStart, &MacroLevel::macroXptOutputStart,
          &MacroLevel::controllerOutputStart})
    {
        MacroLevel sample = level(10);
        sample.numMacroXptInputs = 10;
        sample.*start = greatest - 9;
        EXPECT_EQ(faultOf(sample), "");
        sample.*start = greatest - 8;
        EXPECT_EQ(faultOf(sample), "a block ends beyond the greatest number");
    }
}

TEST(SampleCheck, BlocksOfAMemberEndAtTheGreatestNumber)
{
    EXPECT_EQ(faultOf(RouterMemberMacroXpts{0, 1, greatest, 0, greatest}), "");
    EXPECT_EQ(faultOf(RouterMemberMacroXpts{0, greatest, 0, greatest, 1}), "");
    EXPECT_EQ(faultOf(RouterMemberMacroXpts{0, 2, greatest, 0, 1}), "a block ends beyond the greatest number");
    EXPECT_EQ(faultOf(RouterMemberMacroXpts{0, 0, 1, greatest, 2}), "a block ends beyond the greatest number");
}
