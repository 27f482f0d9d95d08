#include "ddskorabridge/MacroXptTable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using namespace com::tallowcrest::dds_::routing;

namespace
{

const std::string header = "routerPartition  Output  Input      When      LprId  LprState\n"
                           "---------------- ------ ------ -------------- ----- ---------\n";

TEST(MacroXptTable, EveryRecordStartsWithoutARoute)
{
    const MacroXptTable sut(3);

    for (std::uint32_t output = 0; output <= 3; ++output)
    {
        EXPECT_EQ(sut.record(output).macroXptOutput, output);
        EXPECT_EQ(sut.record(output).macroXptInput, 4294967295U);
        EXPECT_EQ(sut.record(output).when, 0U);
        EXPECT_EQ(sut.record(output).lprId, 0U);
        EXPECT_EQ(sut.record(output).lprState, LPR_RELEASED);
    }
}

TEST(MacroXptTable, HoldsTheMaximumOutputAndNothingBeyond)
{
    const MacroXptTable sut(288);

    EXPECT_TRUE(sut.contains(0));
    EXPECT_TRUE(sut.contains(288));
    EXPECT_FALSE(sut.contains(289));
    EXPECT_FALSE(sut.contains(std::numeric_limits<std::uint32_t>::max()));
}

TEST(MacroXptTable, ResetPutsOneRecordBack)
{
    MacroXptTable sut(3);
    sut.store({.macroXptOutput = 2, .macroXptInput = 7, .when = 1, .lprId = 5, .lprState = LPR_LOCKED});

    sut.reset(2);

    EXPECT_EQ(sut.record(2).macroXptOutput, 2U);
    EXPECT_EQ(sut.record(2).macroXptInput, MacroXptTable::noInput);
    EXPECT_EQ(sut.record(2).when, 0U);
    EXPECT_EQ(sut.record(2).lprId, 0U);
    EXPECT_EQ(sut.record(2).lprState, LPR_RELEASED);
}

TEST(MacroXptTable, TextShowsARowForEachOutput)
{
    MacroXptTable sut(10);
    // 25 frames per second: 50 fields a second.
    sut.store({.macroXptOutput = 1,
               .macroXptInput = 12,
               .when = 0x01000000U | (50U * 3661U + 6U),
               .lprId = 42,
               .lprState = LPR_PROTECTED});
    // Drop-frame, midnight.
    sut.store(
        {.macroXptOutput = 2, .macroXptInput = 288, .when = 0x02000000, .lprId = 4294967295U, .lprState = LPR_LOCKED});

    EXPECT_EQ(sut.text("R1", 0, 2), header + "              R1      0     -1    **:**:**:**     0  released\n"
                                             "              R1      1     12    01:01:01:03    42 protected\n"
                                             "              R1      2    288    00:00:00;00    -1    locked\n");
}

TEST(MacroXptTable, TextIsCutAtTheMaximumOutput)
{
    const MacroXptTable sut(10);

    EXPECT_EQ(sut.text("", 10, std::numeric_limits<std::uint32_t>::max()),
              header + "                     10     -1    **:**:**:**     0  released\n");
}

TEST(MacroXptTable, TextBeyondTheMaximumOutputIsEmpty)
{
    const MacroXptTable sut(10);

    EXPECT_EQ(sut.text("R1", 11, 20), "");
}

TEST(MacroXptTable, TextOfAReversedRangeIsTheHeaderAlone)
{
    const MacroXptTable sut(10);

    EXPECT_EQ(sut.text("R1", 5, 4), header);
}

TEST(MacroXptTable, AnyValueFromTheBusCanBePrinted)
{
    MacroXptTable sut(1);
    for (std::uint32_t code = 0; code < 8; ++code)
    {
        sut.store({.macroXptOutput = 1,
                   .macroXptInput = 2147483648U,
                   .when = (code << 24U) | 0xF8FFFFFFU,
                   .lprId = 2147483648U,
                   .lprState = static_cast<LPRState>(7)});

        const std::string text = sut.text("0123456789abcdef", 1, 1);

        const std::string start = header + "0123456789abcdef      1 -2147483648 ";
        const std::string end = " -2147483648          \n";
        EXPECT_EQ(text.substr(0, start.size()), start);
        ASSERT_GE(text.size(), end.size());
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        EXPECT_LE(text.size(), start.size() + 14 + end.size());
    }
}

} // namespace
