#include "tools/korasim/SimulatedRouter.h"

#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/support/RouterRecord.h"
#include "tests/unit/tools/korasim/BusCollector.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::TopicPub;
using korasim::Liveness;
using korasim::RouterOptions;
using korasim::Signal;
using testsupport::RecordedRouter;

namespace
{

constexpr auto targetDurability = dds::core::policy::DurabilityKind::TRANSIENT_LOCAL;

auto outputIs(std::uint32_t output)
{
    return [output](const MacroXptOutput& sample) { return sample.macroXptOutput == output; };
}

bool isAny(const RouterMember&)
{
    return true;
}

/// A bridge's side of the bus: writes targets into a router partition.
class TargetWriter : public TopicPub<MacroXptOutput>
{
public:
    explicit TargetWriter(TopicName topic, const std::string& partition = "R1")
        : TopicPub<MacroXptOutput>(com::tallowcrest::routing::topicName(topic), targetDurability)
    {
        joinRouterPartition(partition);
    }
};

struct StatusReader : BusCollector<MacroXptOutput>
{
    explicit StatusReader(TopicName topic, const std::string& partition = "R1")
        : BusCollector<MacroXptOutput>(topicName(topic), partition)
    {}
};

TEST(SimulatedRouterTest, AnnounceReachesAReaderThatComesLater)
{
    RouterOptions options;
    options.levels.push_back(
        {.levelId = 3, .levelSignalType = LST_Audio, .numMacroXptInputs = 16, .numMacroXptOutputs = 1});
    RecordedRouter sut(options);
    sut.announce();

    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<RouterMemberMacroXpts> video(topicName(TopicName::RouterMemberMacroXptsDxVideo), "R1");
    BusCollector<RouterMemberMacroXpts> audio(topicName(TopicName::RouterMemberMacroXptsDxAudio), "R1");
    BusCollector<MacroLevel> levels(topicName(TopicName::MacroLevel), "R1");

    const auto member = members.waitFor(isAny);
    ASSERT_TRUE(member);
    EXPECT_EQ(member->frameId, 17U);
    EXPECT_EQ(member->routerPartition, "R1");
    const auto videoRanges = video.waitFor([](const auto&) { return true; });
    ASSERT_TRUE(videoRanges);
    EXPECT_EQ(videoRanges->macroXptInputStart, 1U);
    EXPECT_EQ(videoRanges->numMacroXptInputs, 288U);
    EXPECT_EQ(videoRanges->numMacroXptOutputs, 288U);
    const auto audioRanges = audio.waitFor([](const auto&) { return true; });
    ASSERT_TRUE(audioRanges);
    EXPECT_EQ(audioRanges->macroXptOutputStart, 1U);
    EXPECT_EQ(audioRanges->numMacroXptInputs, 2304U);
    EXPECT_EQ(audioRanges->numMacroXptOutputs, 2304U);
    const auto level = levels.waitFor([](const auto& sample) { return sample.levelId == 3; });
    ASSERT_TRUE(level);
    EXPECT_EQ(level->levelSignalType, LST_Audio);
}

TEST(SimulatedRouterTest, PublishesNothingBeforeAnnounce)
{
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    StatusReader status(TopicName::MacroXptOutputVideoStatus);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);
    RecordedRouter sut(RouterOptions{});

    targets.write({.macroXptOutput = 3, .macroXptInput = 7});
    ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 3));
    EXPECT_TRUE(sut.currentStatus(Signal::Video).empty());
    EXPECT_TRUE(members.data().empty());
    EXPECT_TRUE(status.data().empty());

    sut.announce();
    EXPECT_TRUE(status.waitFor(outputIs(3))) << "the target that came before is confirmed now";
}

TEST(SimulatedRouterTest, TargetBecomesStatusOfTheSameSignal)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    StatusReader video(TopicName::MacroXptOutputVideoStatus);
    StatusReader audio(TopicName::MacroXptOutputAudioStatus);
    TargetWriter videoTargets(TopicName::MacroXptOutputVideoTarget);
    TargetWriter audioTargets(TopicName::MacroXptOutputAudioTarget);

    videoTargets.write({.macroXptOutput = 3, .macroXptInput = 7, .when = 1234, .lprId = 9, .lprState = LPR_PROTECTED});
    audioTargets.write({.macroXptOutput = 2304, .macroXptInput = 4294967295U, .lprState = LPR_LOCKED});

    const auto videoStatus = video.waitFor(outputIs(3));
    ASSERT_TRUE(videoStatus);
    EXPECT_EQ(videoStatus->macroXptInput, 7U);
    EXPECT_EQ(videoStatus->when, 1234U);
    EXPECT_EQ(videoStatus->lprId, 9U);
    EXPECT_EQ(videoStatus->lprState, LPR_PROTECTED);
    const auto audioStatus = audio.waitFor(outputIs(2304));
    ASSERT_TRUE(audioStatus);
    EXPECT_EQ(audioStatus->macroXptInput, 4294967295U);
    EXPECT_EQ(audioStatus->lprState, LPR_LOCKED);
    EXPECT_EQ(sut.record().targetCount(Signal::Video), 1U);
    EXPECT_EQ(sut.record().targetCount(Signal::Audio), 1U);
    EXPECT_EQ(video.data().size(), 1U);
}

TEST(SimulatedRouterTest, RefusedOutputGetsNoStatusUntilAcceptedAgain)
{
    RouterOptions options;
    options.refused.emplace(Signal::Video, 5U);
    RecordedRouter sut(options);
    sut.announce();
    StatusReader status(TopicName::MacroXptOutputVideoStatus);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);

    targets.write({.macroXptOutput = 5, .macroXptInput = 1});
    ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 5));
    targets.write({.macroXptOutput = 6, .macroXptInput = 1});
    ASSERT_TRUE(status.waitFor(outputIs(6)));
    EXPECT_EQ(status.data().size(), 1U);

    sut.setRefused(Signal::Video, 5, false);
    targets.write({.macroXptOutput = 5, .macroXptInput = 2});
    const auto accepted = status.waitFor(outputIs(5));
    ASSERT_TRUE(accepted);
    EXPECT_EQ(accepted->macroXptInput, 2U);
}

TEST(SimulatedRouterTest, StatusComesAfterTheDelay)
{
    RouterOptions options;
    options.statusDelay = std::chrono::milliseconds(150);
    RecordedRouter sut(options);
    sut.announce();
    StatusReader status(TopicName::MacroXptOutputVideoStatus);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);

    const auto begin = std::chrono::steady_clock::now();
    targets.write({.macroXptOutput = 5, .macroXptInput = 1});

    ASSERT_TRUE(status.waitFor(outputIs(5)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, options.statusDelay);
}

TEST(SimulatedRouterTest, DelayCanBeSetWhileItRuns)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    StatusReader status(TopicName::MacroXptOutputVideoStatus);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);
    const auto delay = std::chrono::milliseconds(150);

    sut.setStatusDelay(delay);
    const auto begin = std::chrono::steady_clock::now();
    targets.write({.macroXptOutput = 5, .macroXptInput = 1});

    ASSERT_TRUE(status.waitFor(outputIs(5)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, delay);
}

TEST(SimulatedRouterTest, TargetsAreOnlyRecordedWhileNotFollowing)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    sut.setFollowing(false);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);

    targets.write({.macroXptOutput = 5, .macroXptInput = 1});

    ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 5));
    EXPECT_TRUE(sut.currentStatus(Signal::Video).empty());
}

TEST(SimulatedRouterTest, ReAnnounceInAnotherPartitionMovesEverythingThere)
{
    RouterOptions options;
    options.levels.push_back({.levelId = 3, .numMacroXptOutputs = 1});
    RecordedRouter sut(options);
    sut.announce();
    sut.setStatus(Signal::Video, {.macroXptOutput = 4, .macroXptInput = 8});
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<RouterMemberMacroXpts> ranges(topicName(TopicName::RouterMemberMacroXptsDxVideo), "R2");
    BusCollector<MacroLevel> levels(topicName(TopicName::MacroLevel), "R2");
    StatusReader status(TopicName::MacroXptOutputVideoStatus, "R2");
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget, "R2");

    sut.reAnnounce("R2");

    EXPECT_TRUE(members.waitFor([](const auto& sample) { return sample.routerPartition == "R2"; }));
    EXPECT_TRUE(ranges.waitFor([](const auto&) { return true; }));
    EXPECT_TRUE(levels.waitFor([](const auto& sample) { return sample.levelId == 3; }));
    EXPECT_TRUE(status.waitFor(outputIs(4)));
    targets.write({.macroXptOutput = 9, .macroXptInput = 1});
    EXPECT_TRUE(status.waitFor(outputIs(9)));
}

TEST(SimulatedRouterTest, ReAnnounceWithoutPartitionPublishesTheMembershipAgain)
{
    RecordedRouter sut(RouterOptions{});
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<RouterMemberMacroXpts> ranges(topicName(TopicName::RouterMemberMacroXptsDxVideo), "R1");
    sut.announce();
    ASSERT_TRUE(testsupport::waitUntil([&] { return members.data().size() == 1 && ranges.data().size() == 1; }));

    sut.reAnnounce();

    EXPECT_TRUE(testsupport::waitUntil([&] { return members.data().size() == 2; }));
    EXPECT_EQ(ranges.data().size(), 1U);
}

TEST(SimulatedRouterTest, DisposedInstancesAreSeenAsDisposed)
{
    RouterOptions options;
    options.levels.push_back({.levelId = 3, .numMacroXptOutputs = 1});
    RecordedRouter sut(options);
    sut.announce();
    sut.setStatus(Signal::Audio, {.macroXptOutput = 4, .macroXptInput = 8});
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<RouterMemberMacroXpts> ranges(topicName(TopicName::RouterMemberMacroXptsDxAudio), "R1");
    BusCollector<MacroLevel> levels(topicName(TopicName::MacroLevel), "R1");
    StatusReader status(TopicName::MacroXptOutputAudioStatus);
    ASSERT_TRUE(status.waitFor(outputIs(4)));

    sut.disposeMember();
    sut.disposeRanges(Signal::Audio, 0);
    sut.disposeLevel(3);
    sut.disposeStatus(Signal::Audio, 4);

    EXPECT_EQ(members.waitForEnd([](const auto& sample) { return sample.frameId == 17; }), Liveness::Disposed);
    EXPECT_EQ(ranges.waitForEnd([](const auto& sample) { return sample.memberIndex == 0; }), Liveness::Disposed);
    EXPECT_EQ(levels.waitForEnd([](const auto& sample) { return sample.levelId == 3; }), Liveness::Disposed);
    EXPECT_EQ(status.waitForEnd(outputIs(4)), Liveness::Disposed);
}

TEST(SimulatedRouterTest, VanishedRouterLeavesInstancesWithoutWritersAndComesBack)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    StatusReader status(TopicName::MacroXptOutputVideoStatus);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);
    ASSERT_TRUE(members.waitFor(isAny));

    sut.vanish();
    EXPECT_EQ(members.waitForEnd(isAny), Liveness::NoWriters);
    targets.write({.macroXptOutput = 5, .macroXptInput = 1});
    ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 5));
    EXPECT_TRUE(sut.currentStatus(Signal::Video).empty());

    sut.announce();
    EXPECT_TRUE(status.waitFor(outputIs(5)));
    EXPECT_TRUE(testsupport::waitUntil([&] { return members.data().size() == 2; }));
}

TEST(SimulatedRouterTest, BurstPublishesEveryStatus)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    StatusReader status(TopicName::MacroXptOutputAudioStatus);
    std::vector<MacroXptOutput> statuses;
    for (std::uint32_t output = 1; output <= 700; ++output)
    {
        statuses.push_back({.macroXptOutput = output, .macroXptInput = output});
    }

    sut.setStatuses(Signal::Audio, statuses);

    EXPECT_TRUE(testsupport::waitUntil([&] { return status.data().size() == 700; }));
    EXPECT_TRUE(sut.record().waitForStatusCount(Signal::Audio, 700));
    EXPECT_EQ(sut.currentStatus(Signal::Audio).size(), 700U);
}

TEST(SimulatedRouterTest, LocalTargetsReachTheirTopics)
{
    RecordedRouter sut(RouterOptions{});
    sut.announce();
    StatusReader video(TopicName::MacroXptOutputVideoLocalTarget);
    StatusReader audio(TopicName::MacroXptOutputAudioLocalTarget);

    sut.localTarget(Signal::Video, {.macroXptOutput = 1, .macroXptInput = 2});
    sut.localTarget(Signal::Audio, {.macroXptOutput = 3, .macroXptInput = 4});

    EXPECT_TRUE(video.waitFor(outputIs(1)));
    EXPECT_TRUE(audio.waitFor(outputIs(3)));
}

TEST(SimulatedRouterTest, RecordsComponentsAndTheLossOfTheirWriter)
{
    RecordedRouter sut(RouterOptions{});
    TopicPub<ComponentInfo> components(topicName(TopicName::ComponentInfoKoraBridge), targetDurability);
    components.joinRouterPartition("");
    const ComponentInfo info{.frameId = 17, .componentId = 2, .name = "a", .description = "b"};

    components.write(info);
    ASSERT_TRUE(sut.record().waitForComponent(17, 2, Liveness::Alive));
    components.unregisterInstance(info);
    ASSERT_TRUE(sut.record().waitForComponent(17, 2, Liveness::NoWriters));

    EXPECT_EQ(sut.record().component(17, 2)->info.name, "a") << "the last data stays";
    EXPECT_FALSE(sut.record().component(17, 3));
}

TEST(SimulatedRouterTest, RecordsTargetsThatAreDisposedOf)
{
    RecordedRouter sut(RouterOptions{});
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);
    targets.write({.macroXptOutput = 5, .macroXptInput = 1});
    ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 5));

    targets.dispose({.macroXptOutput = 5});

    EXPECT_TRUE(sut.record().waitForTargetGone(Signal::Video, 5, Liveness::Disposed));
}

TEST(SimulatedRouterTest, EndsWhileTargetsAwaitTheirStatus)
{
    RouterOptions options;
    options.statusDelay = std::chrono::hours(1);
    TargetWriter targets(TopicName::MacroXptOutputVideoTarget);
    {
        RecordedRouter sut(options);
        sut.announce();
        targets.write({.macroXptOutput = 5, .macroXptInput = 1});
        ASSERT_TRUE(sut.record().waitForTarget(Signal::Video, 5));
    }
    RecordedRouter next(RouterOptions{});
    EXPECT_TRUE(next.record().waitForTarget(Signal::Video, 5)) << "the writer still hands over its last sample";
}

} // namespace
