#include "koracommand/LevelInvalid.h"

#include "tests/fakes/FakeLevel.h"

#include <gtest/gtest.h>

namespace
{

TEST(LevelInvalidTest, IsTheSameAsAnyOtherInvalidLevelOnly)
{
    const LevelInvalid sut;
    EXPECT_TRUE(sut.isSame(LevelInvalid()));
    EXPECT_FALSE(sut.isSame(FakeLevel()));
}

TEST(LevelInvalidTest, RefusesEveryCommandWithNoSuchLevel)
{
    LevelInvalid sut;
    EXPECT_EQ(sut.take(1, 2, 3, 4), 5U);
    EXPECT_EQ(sut.setOutputLPR(1, 2, 3, 4), 5U);
}

TEST(LevelInvalidTest, StatusLeavesTheOutValuesUntouched)
{
    LevelInvalid sut;
    std::uint32_t input = 11;
    std::uint32_t state = 12;
    std::uint32_t holder = 13;
    EXPECT_EQ(sut.getOutputStatus(1, input, state, holder), 5U);
    EXPECT_EQ(input, 11U);
    EXPECT_EQ(state, 12U);
    EXPECT_EQ(holder, 13U);
}

TEST(LevelInvalidTest, HasNoChangesWhateverIsNoted)
{
    LevelInvalid sut;
    sut.notifyNewConnection(0);
    sut.noteSourceChange(1);
    sut.noteLprChange(1);
    sut.beginOutputChanges(0);
    std::uint32_t result = 21;
    std::uint32_t output = 22;
    std::uint32_t input = 23;
    std::uint32_t state = 24;
    std::uint32_t holder = 25;
    EXPECT_FALSE(sut.getNextOutputChange(result, output, input, state, holder));
    EXPECT_EQ(result, 21U);
    EXPECT_EQ(output, 22U);
}

TEST(LevelInvalidTest, ShowsItselfAsInvalid)
{
    const LevelInvalid sut;
    ::testing::internal::CaptureStdout();
    sut.show();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Invalid Level\n");
}

} // namespace
