#include "koracommand/LevelAccess.h"

#include "tests/fakes/FakeLevel.h"
#include "tests/unit/koracommand/LevelFixture.h"

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

class LevelAccessTest : public LevelFixture
{};

/// Breaks its contract.
class EmptyLevelAccess final : public ILevelAccess
{
public:
    std::shared_ptr<ILevel> getLevelInstance(std::uint32_t /*levelNumber*/) override { return nullptr; }
};

TEST_F(LevelAccessTest, FindsALevelThroughTheAccessInTheSlot)
{
    EXPECT_EQ(getLevelInstance(1), m_level);
}

TEST_F(LevelAccessTest, UnknownNumberGivesTheInvalidLevel)
{
    EXPECT_TRUE(getLevelInstance(2)->isSame(LevelInvalid()));
}

TEST_F(LevelAccessTest, EmptySlotGivesTheInvalidLevel)
{
    resetLevelAccess();
    ASSERT_NE(getLevelInstance(1), nullptr);
    EXPECT_TRUE(getLevelInstance(1)->isSame(LevelInvalid()));
}

TEST_F(LevelAccessTest, AccessWithoutALevelGivesTheInvalidLevel)
{
    setLevelAccess(std::make_shared<EmptyLevelAccess>());
    ASSERT_NE(getLevelInstance(1), nullptr);
    EXPECT_TRUE(getLevelInstance(1)->isSame(LevelInvalid()));
}

TEST_F(LevelAccessTest, SlotLetsItsAccessGoWhenReset)
{
    const std::weak_ptr<FakeLevelAccess> watched = m_access;
    m_access.reset();
    ASSERT_FALSE(watched.expired());
    resetLevelAccess();
    EXPECT_TRUE(watched.expired());
}

} // namespace
