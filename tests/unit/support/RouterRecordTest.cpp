#include "tests/support/RouterRecord.h"

#include <gtest/gtest.h>

#include <thread>

using korasim::Liveness;
using korasim::Signal;
using testsupport::RouterRecord;
using namespace std::chrono_literals;

TEST(RouterRecordTest, WaitEndsWithoutResultWhenTheTargetNeverComes)
{
    RouterRecord sut;
    sut.onTarget(Signal::Video, {.macroXptOutput = 3, .macroXptInput = 7}, false);

    EXPECT_FALSE(sut.waitForTarget(Signal::Audio, 3, 1ms));
    EXPECT_FALSE(sut.waitForTarget(Signal::Video, 4, 1ms));
    EXPECT_FALSE(sut.waitForTarget(
        Signal::Video, 3, [](const auto& target) { return target.macroXptInput == 8; }, 1ms));
    EXPECT_FALSE(sut.waitForTargetCount(Signal::Video, 2, 1ms));
    EXPECT_FALSE(sut.waitForComponent(17, 1, Liveness::Alive, 1ms));
}

TEST(RouterRecordTest, WaitEndsAsSoonAsAnotherThreadReportsTheTarget)
{
    RouterRecord sut;
    std::thread reporter([&] { sut.onTarget(Signal::Audio, {.macroXptOutput = 3, .macroXptInput = 7}, false); });

    const auto target = sut.waitForTarget(Signal::Audio, 3, 1min);

    reporter.join();
    ASSERT_TRUE(target);
    EXPECT_EQ(target->macroXptInput, 7U);
}

TEST(RouterRecordTest, TargetsKeepTheirOrderAndCountEachSample)
{
    RouterRecord sut;
    sut.onTarget(Signal::Video, {.macroXptOutput = 3, .macroXptInput = 7}, false);
    sut.onTarget(Signal::Video, {.macroXptOutput = 2, .macroXptInput = 1}, true);
    sut.onTarget(Signal::Video, {.macroXptOutput = 3, .macroXptInput = 8}, false);

    ASSERT_EQ(sut.targetCount(Signal::Video), 3U);
    EXPECT_EQ(sut.targets(Signal::Video)[1].macroXptOutput, 2U);
    EXPECT_EQ(sut.lastTarget(Signal::Video, 3)->macroXptInput, 8U);
}

TEST(RouterRecordTest, DataAfterTheEndOfATargetBringsItBack)
{
    RouterRecord sut;
    sut.onTargetGone(Signal::Video, 3, Liveness::Disposed);
    ASSERT_EQ(sut.targetGone(Signal::Video, 3), Liveness::Disposed);

    sut.onTarget(Signal::Video, {.macroXptOutput = 3}, false);

    EXPECT_FALSE(sut.targetGone(Signal::Video, 3));
}

TEST(RouterRecordTest, ClearForgetsTargetsAndStatusButNotComponents)
{
    RouterRecord sut;
    sut.onTarget(Signal::Video, {.macroXptOutput = 3}, false);
    sut.onStatus(Signal::Audio, {.macroXptOutput = 3});
    sut.onComponent({.frameId = 17, .componentId = 1, .name = {}, .description = {}}, Liveness::Alive);

    sut.clear();

    EXPECT_EQ(sut.targetCount(Signal::Video), 0U);
    EXPECT_FALSE(sut.lastTarget(Signal::Video, 3));
    EXPECT_TRUE(sut.statuses(Signal::Audio).empty());
    EXPECT_TRUE(sut.component(17, 1));
}
