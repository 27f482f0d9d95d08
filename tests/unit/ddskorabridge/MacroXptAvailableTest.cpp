#include "ddskorabridge/MacroXptAvailable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace
{

const MacroXptAvailable::Sample frame1{.memberIndex = 1,
                                       .macroXptInputStart = 1,
                                       .numMacroXptInputs = 144,
                                       .macroXptOutputStart = 1,
                                       .numMacroXptOutputs = 72};
const MacroXptAvailable::Sample frame2{.memberIndex = 2,
                                       .macroXptInputStart = 145,
                                       .numMacroXptInputs = 144,
                                       .macroXptOutputStart = 73,
                                       .numMacroXptOutputs = 72};

TEST(MacroXptAvailable, NothingIsAvailableAtFirst)
{
    const MacroXptAvailable sut;

    EXPECT_FALSE(sut.isInputAvailable(0));
    EXPECT_FALSE(sut.isInputAvailable(1));
    EXPECT_FALSE(sut.isOutputAvailable(1));
}

TEST(MacroXptAvailable, TheBlocksOfEveryMemberAreAvailable)
{
    MacroXptAvailable sut;

    sut.add(frame1);
    sut.add(frame2);

    EXPECT_FALSE(sut.isInputAvailable(0));
    EXPECT_TRUE(sut.isInputAvailable(1));
    EXPECT_TRUE(sut.isInputAvailable(144));
    EXPECT_TRUE(sut.isInputAvailable(145));
    EXPECT_TRUE(sut.isInputAvailable(288));
    EXPECT_FALSE(sut.isInputAvailable(289));
    EXPECT_TRUE(sut.isOutputAvailable(144));
    EXPECT_FALSE(sut.isOutputAvailable(145));
}

TEST(MacroXptAvailable, ASecondSampleOfAMemberReplacesItsBlocks)
{
    MacroXptAvailable sut;
    sut.add(frame1);

    sut.add({.memberIndex = 1,
             .macroXptInputStart = 500,
             .numMacroXptInputs = 1,
             .macroXptOutputStart = 600,
             .numMacroXptOutputs = 1});

    EXPECT_FALSE(sut.isInputAvailable(1));
    EXPECT_FALSE(sut.isOutputAvailable(1));
    EXPECT_TRUE(sut.isInputAvailable(500));
    EXPECT_TRUE(sut.isOutputAvailable(600));
}

TEST(MacroXptAvailable, RemovingAMemberLeavesTheOthers)
{
    MacroXptAvailable sut;
    sut.add(frame1);
    sut.add(frame2);

    sut.remove({.memberIndex = 1});
    sut.remove({.memberIndex = 9});

    EXPECT_FALSE(sut.isInputAvailable(1));
    EXPECT_TRUE(sut.isInputAvailable(145));
}

TEST(MacroXptAvailable, ACrosspointOfOverlappingBlocksStaysWhileOneHoldsIt)
{
    MacroXptAvailable sut;
    MacroXptAvailable::Sample overlapping = frame1;
    overlapping.memberIndex = 3;
    sut.add(frame1);
    sut.add(overlapping);

    sut.remove(frame1);

    EXPECT_TRUE(sut.isInputAvailable(1));
}

TEST(MacroXptAvailable, AMemberWithoutInputsOffersNone)
{
    MacroXptAvailable sut;

    sut.add({.memberIndex = 1, .macroXptInputStart = 1, .macroXptOutputStart = 1, .numMacroXptOutputs = 1});

    EXPECT_FALSE(sut.isInputAvailable(1));
    EXPECT_TRUE(sut.isOutputAvailable(1));
    EXPECT_FALSE(sut.isOutputAvailable(2));
}

TEST(MacroXptAvailable, ABlockMayReachTheEndOf32Bits)
{
    const std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
    MacroXptAvailable sut;

    sut.add({.memberIndex = 1, .macroXptInputStart = last - 1, .numMacroXptInputs = 100});

    EXPECT_TRUE(sut.isInputAvailable(last));
    EXPECT_FALSE(sut.isInputAvailable(last - 2));
    EXPECT_FALSE(sut.isInputAvailable(0)) << "the block does not wrap";
}

TEST(MacroXptAvailable, HoldsSoManyMembersAndReplacesThoseThatItHas)
{
    MacroXptAvailable sut;
    for (std::uint16_t index = 0; index < MacroXptAvailable::mostMembers; ++index)
    {
        ASSERT_TRUE(sut.add({.memberIndex = index, .macroXptInputStart = 1, .numMacroXptInputs = 1}));
    }

    EXPECT_FALSE(sut.add({.memberIndex = 60000, .macroXptInputStart = 500, .numMacroXptInputs = 1}));
    EXPECT_FALSE(sut.isInputAvailable(500));
    EXPECT_TRUE(sut.add({.memberIndex = 0, .macroXptInputStart = 500, .numMacroXptInputs = 1}));
    EXPECT_TRUE(sut.isInputAvailable(500));
    sut.remove({.memberIndex = 0});
    EXPECT_TRUE(sut.add({.memberIndex = 60000, .macroXptInputStart = 600, .numMacroXptInputs = 1}));
}

TEST(MacroXptAvailable, ShowPrintsTitleAndMembers)
{
    MacroXptAvailable sut;
    sut.add(frame2);
    testing::internal::CaptureStdout();

    sut.show("Video");

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "MacroXptAvailable::show(Video)\n"
              "memberIndex 2, inputStart 145, numInputs 144, outputStart 73, numOutputs 72\n");
}

} // namespace
