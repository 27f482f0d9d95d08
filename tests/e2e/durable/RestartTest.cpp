#include "runtime/hwobjs/TimecodeSharedMem.h"
#include "runtime/util/Timecode.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>

using namespace e2e;
using com::tallowcrest::dds_::routing::LPR_LOCKED;
using com::tallowcrest::dds_::routing::LPR_RELEASED;
using com::tallowcrest::hwobjs::TimecodeSharedMem;
using com::tallowcrest::util::Timecode;

namespace
{

class RestartTest : public DurableFixture
{
protected:
    /// A bridge with a take on an audio output and a lock on a video output.
    void startWithTargets()
    {
        router().announce();
        startJoinedOnStore();
        auto client = connectController();
        ASSERT_EQ(client.take({{videoLevel, 42, 5, 7}, {audioLevel, 0, 100, 2304}}),
                  (std::vector<std::uint32_t>{0, 0}));
        ASSERT_EQ(client.setOutputLpr({{videoLevel, 7, koraclient::LprCommand::lock, 42}}).results,
                  std::vector<std::uint32_t>{0});
        // Seen by the router, so that what it sees later is what was published again.
        ASSERT_TRUE(
            record().waitForTarget(Signal::Video, 7, [](const auto& target) { return target.lprState == LPR_LOCKED; }));
        ASSERT_TRUE(record().waitForTarget(Signal::Audio, 2304));
    }
    void expectTargetsBack()
    {
        const auto video = record().waitForTarget(Signal::Video, 7);
        ASSERT_TRUE(video);
        EXPECT_EQ(video->macroXptInput, 5U);
        EXPECT_EQ(video->lprId, 42U);
        EXPECT_EQ(video->lprState, LPR_LOCKED);
        const auto audio = record().waitForTarget(Signal::Audio, 2304);
        ASSERT_TRUE(audio);
        EXPECT_EQ(audio->macroXptInput, 100U);
        EXPECT_EQ(audio->lprState, LPR_RELEASED);
    }
};

} // namespace

TEST_F(RestartTest, KilledBridgePublishesItsTakesAndLocksAgain)
{
    startWithTargets();
    waitOutLossBound(bridge());
    kill();
    record().clear();

    startJoinedOnStore();

    expectTargetsBack();
    auto stranger = connectController();
    EXPECT_EQ(stranger.take({{videoLevel, 99, 6, 7}}), std::vector<std::uint32_t>{12});
    EXPECT_EQ(stranger.take({{videoLevel, 42, 6, 8}}), std::vector<std::uint32_t>{0});
}

TEST_F(RestartTest, StoppedBridgeLosesNothingHoweverFresh)
{
    startWithTargets();
    bridge().signal(SIGTERM);
    ASSERT_EQ(bridge().waitForExit(), 0);
    record().clear();

    startJoinedOnStore();

    expectTargetsBack();
}

TEST_F(RestartTest, TargetsComeBackWithTheTimecodeOfTheRestart)
{
    TimecodeSharedMem timecode;
    timecode.setTimecode(Timecode(0x01020304));
    startWithTargets();
    ASSERT_EQ(record().waitForTarget(Signal::Video, 7)->when, Timecode(0x01020304).word());
    bridge().signal(SIGTERM);
    ASSERT_EQ(bridge().waitForExit(), 0);
    record().clear();
    timecode.setTimecode(Timecode(0x01060708));

    startJoinedOnStore();

    const auto target = record().waitForTarget(Signal::Video, 7);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->when, Timecode(0x01060708).word());
}

TEST_F(RestartTest, RestartWithoutTakesWritesNothingToTheStore)
{
    startWithTargets();
    ASSERT_TRUE(testsupport::waitUntil([this] { // the lock came last
        return storeText(
                   "SELECT count(*) || ' ' || sum(json_extract(payload, '$.lprState') <> 0) FROM durable_sample") ==
               "2 1";
    }));
    kill();
    startJoinedOnStore();
    kill();
    const std::string before = storeText("SELECT group_concat(instance || written || payload) FROM durable_sample");

    startJoinedOnStore();
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 7));
    kill();

    EXPECT_EQ(storeText("SELECT group_concat(instance || written || payload) FROM durable_sample"), before);
}

TEST_F(RestartTest, MembershipThatIsAnnouncedAgainKeepsTakesOfTheLastMoment)
{
    router().announce();
    startJoinedOnStore();
    auto client = connectController();

    ASSERT_EQ(client.take({{videoLevel, 1, 9, 3}}), std::vector<std::uint32_t>{0});
    record().clear();
    router().reAnnounce();

    const auto target = record().waitForTarget(Signal::Video, 3);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->macroXptInput, 9U);
}

TEST_F(RestartTest, BridgeThatMovesKeepsThePartitionsApart)
{
    router().announce();
    startJoinedOnStore();
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 1, 9, 3}}), std::vector<std::uint32_t>{0});
    ASSERT_TRUE(waitForInput(client, videoLevel, 3, 9));

    record().clear();
    router().reAnnounce("R2");
    ASSERT_TRUE(bridge().waitForOutput("TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition 'R2')"));
    ASSERT_TRUE(testsupport::waitUntil([&] {
        return client.take({{videoLevel, 1, 8, 3}}) == std::vector<std::uint32_t>{0};
    }));
    const auto hasInput = [](std::uint32_t input) {
        return [input](const auto& target) { return target.macroXptInput == input; };
    };
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 3, hasInput(8)));
    // Nothing of the first partition was published in the second; what was may come again, for the router's new reader.
    const auto published = record().targets(Signal::Video);
    EXPECT_TRUE(std::all_of(published.begin(), published.end(), hasInput(8)));

    router().reAnnounce("R1");
    // Its readers of the second partition have gone; the question comes behind whatever they had brought.
    static_cast<void>(router().lastTarget(Signal::Video, 3));
    const auto numBefore = static_cast<std::ptrdiff_t>(record().targetCount(Signal::Video));
    EXPECT_TRUE(record().waitForTarget(Signal::Video, 3, hasInput(9)));
    const auto back = record().targets(Signal::Video);
    EXPECT_TRUE(std::all_of(back.begin() + numBefore, back.end(), hasInput(9)));
    bridge().signal(SIGTERM);
    ASSERT_EQ(bridge().waitForExit(), 0);
    EXPECT_EQ(storeText("SELECT group_concat(substr(partition, -2) || ' ' || json_extract(payload, '$.macroXptInput')) "
                        "FROM (SELECT * FROM durable_sample ORDER BY partition)"),
              "R1 9,R2 8");
}
