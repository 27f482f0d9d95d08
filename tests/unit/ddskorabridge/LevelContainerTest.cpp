#include "ddskorabridge/LevelContainer.h"

#include "tests/fakes/FakeLevel.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

using Calls = std::vector<std::string>;

TEST(LevelContainer, FindsALevelByItsNumber)
{
    LevelContainer sut;
    const auto level = std::make_shared<FakeLevel>("one");
    sut.set(1, level);
    std::shared_ptr<ILevel> found;

    EXPECT_TRUE(sut.find(1, found));
    EXPECT_EQ(found, level);
}

TEST(LevelContainer, AnUnknownNumberLeavesTheOutValueAsItWas)
{
    LevelContainer sut;
    sut.set(1, std::make_shared<FakeLevel>("one"));
    const std::shared_ptr<ILevel> before = std::make_shared<FakeLevel>("before");
    std::shared_ptr<ILevel> found = before;

    EXPECT_FALSE(sut.find(2, found));
    EXPECT_EQ(found, before);
}

TEST(LevelContainer, ANewLevelReplacesAnotherOneWithItsNumber)
{
    LevelContainer sut;
    const auto level = std::make_shared<FakeLevel>("one");
    const auto other = std::make_shared<FakeLevel>("other");
    sut.set(1, level);

    sut.set(1, other);

    std::shared_ptr<ILevel> found;
    ASSERT_TRUE(sut.find(1, found));
    EXPECT_EQ(found, other);
    EXPECT_EQ(level->takeCallTexts(), Calls{"isSame other"});
    EXPECT_EQ(level.use_count(), 1);
    EXPECT_EQ(sut.entries().size(), 1U);
}

TEST(LevelContainer, ANewLevelReplacesTheSameOneToo)
{
    LevelContainer sut;
    const auto level = std::make_shared<FakeLevel>("one");
    const auto same = std::make_shared<FakeLevel>("one");
    sut.set(1, level);

    sut.set(1, same);

    std::shared_ptr<ILevel> found;
    ASSERT_TRUE(sut.find(1, found));
    EXPECT_EQ(found, same);
}

TEST(LevelContainer, EraseAndClearForgetLevels)
{
    LevelContainer sut;
    std::shared_ptr<ILevel> found;
    for (std::uint32_t levelId = 1; levelId <= 3; ++levelId)
    {
        sut.set(levelId, std::make_shared<FakeLevel>("level"));
    }

    sut.erase(2);
    sut.erase(9);

    EXPECT_TRUE(sut.find(1, found));
    EXPECT_FALSE(sut.find(2, found));
    EXPECT_TRUE(sut.find(3, found));

    sut.clear();

    EXPECT_TRUE(sut.entries().empty());
}

TEST(LevelContainer, NoticesReachEveryLevel)
{
    LevelContainer sut;
    const auto one = std::make_shared<FakeLevel>("one");
    const auto two = std::make_shared<FakeLevel>("two");
    sut.set(1, one);
    sut.set(65535, two);

    sut.notifyNewConnection(15);
    sut.noteSourceChange(7);
    sut.noteLprChange(8);

    const Calls expected = {"notifyNewConnection 15", "noteSourceChange 7", "noteLprChange 8"};
    EXPECT_EQ(one->takeCallTexts(), expected);
    EXPECT_EQ(two->takeCallTexts(), expected);
}

TEST(LevelContainer, ShowPrintsTheTitleAndALinePerLevel)
{
    LevelContainer sut;
    sut.set(7, std::make_shared<FakeLevel>("seven"));
    testing::internal::CaptureStdout();

    sut.show("Video Levels");

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Video Levels\n    Lvl  7: seven\n");
}

TEST(LevelContainer, ShowOfAnEmptyContainerPrintsTheTitleAlone)
{
    const LevelContainer sut;
    testing::internal::CaptureStdout();

    sut.show("Audio Levels");

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Audio Levels\n");
}

} // namespace
