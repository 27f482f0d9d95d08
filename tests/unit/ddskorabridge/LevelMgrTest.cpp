#include "ddskorabridge/LevelMgr.h"

#include "BusTest.h"
#include "FakeXptStatus.h"
#include "RecordingXptTarget.h"
#include "ddskorabridge/LevelImpl.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace com::tallowcrest::dds_::routing;

namespace
{

using Lines = std::vector<std::string>;

constexpr const char* levelTopic = "TopicMacroLevel";

MacroLevel macroLevel(std::uint16_t levelId, MacroLevelSignalType signalType, std::uint32_t numOutputs = 20)
{
    return {.levelId = levelId,
            .levelSignalType = signalType,
            .macroXptInputStart = 101,
            .numMacroXptInputs = 10,
            .controllerInputStart = 1,
            .macroXptOutputStart = 201,
            .numMacroXptOutputs = numOutputs,
            .controllerOutputStart = 1};
}

class LevelMgrTest : public BusTest
{
protected:
    bool isInvalid(std::uint32_t levelNumber) { return m_sut->getLevelInstance(levelNumber)->take(0, 1, 1, 0) == 5; }

    std::size_t changesOf(std::uint32_t levelNumber, std::uint32_t connection)
    {
        const std::shared_ptr<ILevel> level = m_sut->getLevelInstance(levelNumber);
        std::size_t changes = 0;
        std::uint32_t unused = 0;
        level->beginOutputChanges(connection);
        while (level->getNextOutputChange(unused, unused, unused, unused, unused))
        {
            ++changes;
        }
        return changes;
    }

    std::shared_ptr<RecordingXptTarget> m_audioTarget = std::make_shared<RecordingXptTarget>();
    std::shared_ptr<RecordingXptTarget> m_videoTarget = std::make_shared<RecordingXptTarget>();
    std::shared_ptr<FakeXptStatus> m_audioStatus = std::make_shared<FakeXptStatus>();
    std::shared_ptr<FakeXptStatus> m_videoStatus = std::make_shared<FakeXptStatus>();
    std::shared_ptr<LevelContainer> m_audioLevels = std::make_shared<LevelContainer>();
    std::shared_ptr<LevelContainer> m_videoLevels = std::make_shared<LevelContainer>();
    PeerWriter<MacroLevel> m_router{m_peer, levelTopic, "R1"};
    std::shared_ptr<LevelMgr> m_sut =
        std::make_shared<LevelMgr>(m_apartment, levelTopic, m_audioTarget, m_videoTarget, m_audioStatus, m_videoStatus,
                                   m_audioLevels, m_videoLevels);
};

TEST_F(LevelMgrTest, AnUnknownNumberGivesTheInvalidLevelAndALine)
{
    EXPECT_TRUE(isInvalid(7));
    EXPECT_TRUE(isInvalid(std::numeric_limits<std::uint32_t>::max()));

    EXPECT_EQ(m_log.takeTexts(), (Lines{"INFO Unable to find level 7", "INFO Unable to find level -1"}));
}

TEST_F(LevelMgrTest, ASampleBuildsALevelOfItsSignalType)
{
    m_sut->handleSample(macroLevel(1, LST_Video));
    m_sut->handleSample(macroLevel(2, LST_Audio));

    EXPECT_EQ(m_sut->getLevelInstance(1)->take(42, 2, 3, 9), 0U);
    EXPECT_EQ(m_videoTarget->calls, (Lines{"checkTake 203 102 42", "take 203 102 42 9"}));
    EXPECT_EQ(m_audioTarget->calls, Lines{});
    m_videoTarget->calls.clear();

    EXPECT_EQ(m_sut->getLevelInstance(2)->take(42, 2, 3, 9), 0U);
    EXPECT_EQ(m_audioTarget->calls, (Lines{"checkTake 203 102 42", "take 203 102 42 9"}));
    EXPECT_EQ(m_videoTarget->calls, Lines{});
    EXPECT_EQ(m_log.takeTexts(), Lines{});
}

TEST_F(LevelMgrTest, ALevelIsBuiltFromAllNumbersOfTheSample)
{
    m_sut->handleSample({.levelId = 3,
                         .levelSignalType = LST_Audio,
                         .macroXptInputStart = 1,
                         .numMacroXptInputs = 2,
                         .controllerInputStart = 3,
                         .macroXptOutputStart = 4,
                         .numMacroXptOutputs = 5,
                         .controllerOutputStart = 6});

    const LevelImpl expected(m_audioTarget, m_audioStatus,
                             {.numXptsPer = 1,
                              .xptInputStart = 1,
                              .numXptInputs = 2,
                              .controllerInputStart = 3,
                              .xptOutputStart = 4,
                              .numXptOutputs = 5,
                              .controllerOutputStart = 6});
    EXPECT_TRUE(m_sut->getLevelInstance(3)->isSame(expected));
}

TEST_F(LevelMgrTest, AnUnknownSignalTypeBuildsNothing)
{
    m_sut->handleSample(macroLevel(1, static_cast<MacroLevelSignalType>(2)));

    EXPECT_TRUE(m_audioLevels->entries().empty());
    EXPECT_TRUE(m_videoLevels->entries().empty());
    EXPECT_EQ(m_log.takeTexts(), Lines{});
}

TEST_F(LevelMgrTest, ANumberInBothContainersIsTheAudioLevel)
{
    m_sut->handleSample(macroLevel(1, LST_Audio));
    m_sut->handleSample(macroLevel(1, LST_Video));

    m_sut->getLevelInstance(1)->take(0, 1, 1, 0);

    EXPECT_EQ(m_audioTarget->calls.size(), 2U);
    EXPECT_EQ(m_videoTarget->calls.size(), 0U);
    EXPECT_EQ(m_audioLevels->entries().size(), 1U);
    EXPECT_EQ(m_videoLevels->entries().size(), 1U) << "the other container is not cleaned";
}

TEST_F(LevelMgrTest, ASecondSampleReplacesTheLevelAndItsPendingChanges)
{
    m_sut->handleSample(macroLevel(1, LST_Video));
    m_sut->notifyLevels(0);
    const std::shared_ptr<ILevel> before = m_sut->getLevelInstance(1);

    m_sut->handleSample(macroLevel(1, LST_Video));

    EXPECT_NE(m_sut->getLevelInstance(1), before);
    EXPECT_EQ(changesOf(1, 0), 0U);
}

TEST_F(LevelMgrTest, ALevelWithoutOutputsIsIgnoredWithAWarning)
{
    m_sut->handleSample(macroLevel(1, LST_Video, 20));

    m_sut->handleSample(macroLevel(1, LST_Video, 0));

    EXPECT_EQ(m_log.takeTexts(), Lines{"WARN Level 1 ignored: 0 outputs, must be 1 to 73728"});
    EXPECT_FALSE(isInvalid(1)) << "the level before it stays";
}

TEST_F(LevelMgrTest, ALevelWithMoreOutputsThanAnyRouterIsIgnoredWithAWarning)
{
    m_sut->handleSample(macroLevel(1, LST_Video, LevelMgr::maxLevelOutputs));
    m_sut->handleSample(macroLevel(2, LST_Video, LevelMgr::maxLevelOutputs + 1));
    m_sut->handleSample(macroLevel(3, LST_Audio, std::numeric_limits<std::uint32_t>::max()));

    EXPECT_EQ(m_log.takeTexts(), (Lines{"WARN Level 2 ignored: 73729 outputs, must be 1 to 73728",
                                        "WARN Level 3 ignored: 4294967295 outputs, must be 1 to 73728"}));
    EXPECT_EQ(m_videoLevels->entries().size(), 1U);
    EXPECT_TRUE(m_audioLevels->entries().empty());
}

TEST_F(LevelMgrTest, LevelsBeyondTheBudgetAreIgnoredWithOneWarningAndWhatThereIsStays)
{
    m_sut->handleSample(macroLevel(1, LST_Video));
    for (std::uint16_t levelId = 100; levelId < 200; ++levelId)
    {
        m_sut->handleSample(macroLevel(levelId, LST_Audio, LevelMgr::maxLevelOutputs));
    }

    EXPECT_EQ(m_audioLevels->entries().size(), 3U);
    EXPECT_FALSE(isInvalid(1));
    EXPECT_EQ(m_log.takeTexts(),
              Lines{"WARN Level 103 ignored: no room beside 256 levels or 294912 outputs of all levels together"});
}

TEST_F(LevelMgrTest, AReplacedLevelIsFreedAndWhoeverHoldsItMayUseIt)
{
    m_sut->handleSample(macroLevel(1, LST_Video));
    std::shared_ptr<ILevel> held = m_sut->getLevelInstance(1);
    const std::weak_ptr<ILevel> watched = held;

    m_sut->handleSample(macroLevel(1, LST_Video));

    EXPECT_EQ(held->take(0, 1, 1, 0), 0U);
    held.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(LevelMgrTest, LeavingMakesRoomForLevels)
{
    for (std::uint16_t levelId = 0; levelId < 4; ++levelId)
    {
        m_sut->handleSample(macroLevel(levelId, LST_Audio, LevelMgr::maxLevelOutputs));
    }

    m_sut->leaveRouterPartition();
    m_sut->handleSample(macroLevel(9, LST_Video, LevelMgr::maxLevelOutputs));

    EXPECT_FALSE(isInvalid(9));
}

TEST_F(LevelMgrTest, LevelsAlreadyPublishedAreBuiltOnJoining)
{
    m_router.write(macroLevel(7, LST_Video));
    m_router.write(macroLevel(8, LST_Audio));

    m_sut->joinRouterPartition("R1");

    EXPECT_TRUE(m_apartment->runUntil([this] { return !isInvalid(7) && !isInvalid(8); }));
    EXPECT_EQ(m_log.takeTexts().front(), "INFO TopicMacroLevel joinRouterPartition(routerPartition 'R1')");
}

TEST_F(LevelMgrTest, LevelsPublishedLaterAreBuiltAsTheyCome)
{
    m_sut->joinRouterPartition("R1");

    m_router.write(macroLevel(7, LST_Video));

    EXPECT_TRUE(m_apartment->runUntil([this] { return !isInvalid(7); }));
}

TEST_F(LevelMgrTest, ADisposedLevelStays)
{
    m_sut->joinRouterPartition("R1");
    m_router.write(macroLevel(7, LST_Video));
    ASSERT_TRUE(m_apartment->runUntil([this] { return !isInvalid(7); }));

    m_router.dispose(macroLevel(7, LST_Video));
    m_router.write(macroLevel(8, LST_Video));
    ASSERT_TRUE(m_apartment->runUntil([this] { return !isInvalid(8); }));

    EXPECT_FALSE(isInvalid(7));
}

TEST_F(LevelMgrTest, LeavingForgetsEveryLevel)
{
    m_sut->handleSample(macroLevel(1, LST_Video));
    m_sut->handleSample(macroLevel(2, LST_Audio));
    m_sut->joinRouterPartition("R1");
    m_log.takeTexts();

    m_sut->leaveRouterPartition();

    EXPECT_TRUE(isInvalid(1));
    EXPECT_TRUE(isInvalid(2));
    EXPECT_EQ(m_log.takeTexts(), (Lines{"INFO TopicMacroLevel leaveRouterPartition(routerPartition 'R1')",
                                        "INFO Unable to find level 1", "INFO Unable to find level 2"}));
}

TEST_F(LevelMgrTest, AfterLeavingNoLevelIsBuiltUntilTheNextJoin)
{
    m_sut->joinRouterPartition("R1");
    m_sut->leaveRouterPartition();
    m_router.write(macroLevel(7, LST_Video));
    m_apartment->runAll();
    EXPECT_TRUE(isInvalid(7));

    m_sut->joinRouterPartition("R1");

    EXPECT_TRUE(m_apartment->runUntil([this] { return !isInvalid(7); }));
}

TEST_F(LevelMgrTest, JoiningAgainKeepsTheLevels)
{
    m_sut->handleSample(macroLevel(1, LST_Video));

    m_sut->joinRouterPartition("R1");
    m_sut->joinRouterPartition("R1");

    EXPECT_FALSE(isInvalid(1));
}

TEST_F(LevelMgrTest, ANewConnectionIsAnnouncedOnTheApartment)
{
    m_sut->handleSample(macroLevel(1, LST_Video, 20));
    m_sut->handleSample(macroLevel(2, LST_Audio, 30));

    std::thread([this] { m_sut->notifyNewConnection(15); }).join();

    EXPECT_EQ(changesOf(1, 15), 0U) << "nothing happens on the calling thread";
    m_apartment->runAll();
    EXPECT_EQ(changesOf(1, 15), 20U);
    EXPECT_EQ(changesOf(2, 15), 30U);
    EXPECT_EQ(changesOf(1, 14), 0U);
}

TEST_F(LevelMgrTest, AnAnnouncementThatComesTooLateDoesNothing)
{
    m_sut->notifyNewConnection(3);
    ASSERT_EQ(m_apartment->pending(), 1U);

    m_sut.reset();

    m_apartment->runAll();
}

TEST_F(LevelMgrTest, ASampleIsPrintedForDiagnosis)
{
    m_sut->joinRouterPartition("R1");
    MacroLevel sample = macroLevel(65535, LST_Audio);
    sample.controllerOutputStart = std::numeric_limits<std::uint32_t>::max();
    testing::internal::CaptureStdout();

    m_sut->printSample("a title", sample);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a title\n"
                                                      "    routerPartition      : R1\n"
                                                      "    levelId              : 65535\n"
                                                      "    levelSignalType      : 1\n"
                                                      "    macroXptInputStart   : 101\n"
                                                      "    numMacroXptInputs    : 10\n"
                                                      "    controllerInputStart : 1\n"
                                                      "    macroXptOutputStart  : 201\n"
                                                      "    numMacroXptOutputs   : 20\n"
                                                      "    controllerOutputStart: -1\n");
}

} // namespace
