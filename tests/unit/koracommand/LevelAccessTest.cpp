#include "koracommand/LevelAccess.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

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
