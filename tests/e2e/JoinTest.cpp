#include "tests/e2e/support/BridgeFixture.h"

using namespace e2e;

namespace
{

using JoinTest = BridgeFixture;
using testsupport::isListening;
using testsupport::waitForPort;

constexpr auto joinLine = "TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition '";

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    {
        ++count;
    }
    return count;
}

} // namespace

TEST_F(JoinTest, AnnouncesItselfOnTheBusBeforeAnyMembership)
{
    startBridge();

    ASSERT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::Alive));
    const auto component = record().component(frameId, bridgeId);
    EXPECT_EQ(component->info.name, "Bridge One");
    EXPECT_EQ(component->info.description, "bridge under test");
}

TEST_F(JoinTest, ControllerPortIsClosedUntilTheMembershipArrives)
{
    startBridge();
    ASSERT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::Alive));
    ASSERT_TRUE(bridge().waitForOutput("Starting korabridge, koraBridgeId 3, koraBridgeName Bridge One"));
    EXPECT_FALSE(isListening(koraPort));

    router().announce();

    EXPECT_TRUE(waitForPort(koraPort));
    EXPECT_TRUE(bridge().waitForOutput(std::string(joinLine) + "R1')"));
}

TEST_F(JoinTest, LevelsTargetsStatusAndLocalTargetsJoinInThisOrderAndTheServerLast)
{
    startJoined();

    const std::string log = bridge().output();
    std::size_t at = 0;
    for (const std::string part : {"Level", "XptOutputAudioTarget", "XptOutputVideoTarget", "XptOutputAudioStatus",
                                   "XptOutputVideoStatus", "XptOutputAudioLocalTarget", "XptOutputVideoLocalTarget"})
    {
        at = log.find("TopicMacro" + part + " joinRouterPartition(routerPartition 'R1')", at);
        ASSERT_NE(at, std::string::npos) << part << " in\n" << log;
    }
    EXPECT_NE(log.find(" connected to router\n", at), std::string::npos) << log;
}

TEST_F(JoinTest, MembershipOfAnotherFrameJoinsNothing)
{
    startBridge({"18", "3", "Bridge One", "another frame"});
    ASSERT_TRUE(record().waitForComponent(18, bridgeId, Liveness::Alive));

    router().announce();

    EXPECT_FALSE(waitForPort(koraPort, std::chrono::seconds(3)));
    EXPECT_EQ(bridge().output().find("joinRouterPartition"), std::string::npos);
}

TEST_F(JoinTest, ReAnnouncedMembershipJoinsAgainAndKeepsRoutesAndControllers)
{
    startJoined();
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 0, 5, 7}}), std::vector<std::uint32_t>{0});
    ASSERT_TRUE(waitForInput(client, videoLevel, 7, 5));

    router().reAnnounce();

    ASSERT_TRUE(testsupport::waitUntil([&] { return countOf(bridge().output(), joinLine) == 2; }));
    EXPECT_TRUE(waitForInput(client, videoLevel, 7, 5));
    EXPECT_TRUE(testsupport::waitUntil([&] {
        return client.take({{videoLevel, 0, 6, 7}}) == std::vector<std::uint32_t>{0};
    }));
    EXPECT_TRUE(waitForInput(client, videoLevel, 7, 6));
}

TEST_F(JoinTest, MovesToAnotherPartitionWithTheMembership)
{
    startJoined();
    auto client = connectController();

    router().reAnnounce("R2");

    ASSERT_TRUE(bridge().waitForOutput(std::string(joinLine) + "R2')"));
    EXPECT_TRUE(testsupport::waitUntil([&] {
        return client.take({{videoLevel, 0, 9, 11}}) == std::vector<std::uint32_t>{0};
    }));
    EXPECT_TRUE(waitForInput(client, videoLevel, 11, 9));
}

TEST_F(JoinTest, DisposedMembershipIsIgnored)
{
    startJoined();
    auto client = connectController();

    router().disposeMember();
    router().setStatus(Signal::Video, xpt(1, 2));

    EXPECT_TRUE(waitForInput(client, videoLevel, 1, 2));
    EXPECT_TRUE(isListening(koraPort));
    EXPECT_EQ(bridge().output().find("leaveRouterPartition"), std::string::npos);
}

namespace
{

class LongPartitionTest : public BridgeFixture
{
protected:
    LongPartitionTest() : BridgeFixture(options()) {}

    static korasim::RouterOptions options()
    {
        korasim::RouterOptions options;
        options.partition = "SixteenCharacter";
        return options;
    }
};

} // namespace

TEST_F(LongPartitionTest, PartitionOfSixteenCharactersWorks)
{
    startJoined();
    auto client = connectController();

    EXPECT_EQ(client.take({{videoLevel, 0, 1, 2}}), std::vector<std::uint32_t>{0});
    EXPECT_TRUE(record().waitForTarget(Signal::Video, 2, [](const auto& target) { return target.macroXptInput == 1; }));
    EXPECT_TRUE(waitForInput(client, videoLevel, 2, 1));
}
