#include "durability/Sqlite.h"
#include "tests/e2e/hostile/HostilePub.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/flatness/Figures.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/Operator.h"

#include <cstdlib>
#include <limits>

using namespace e2e;
using com::tallowcrest::dds_::routing::LST_Audio;
using com::tallowcrest::dds_::routing::MacroLevel;
using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::dds_::routing::RouterMemberMacroXpts;
using com::tallowcrest::routing::TopicName;

namespace
{

/// Somebody publishes more than any router has. The bridge serves its controllers as before and takes no more memory.
class HostileSamplesTest : public BridgeFixture
{
protected:
    static constexpr std::size_t mostGrowthKiB = 4096;

    void SetUp() override
    {
        startJoined();
        m_client.emplace(connectController());
        // What is made at first use is there when the memory is looked at.
        expectServed(5, 7);
        m_residentKiB = residentKiB();
    }

    std::size_t residentKiB() { return flatness::ProcessFigures::of(bridge().pid()).residentKiB; }

    template <typename T>
    void handle(HostilePub<T>& hostile)
    {
        hostile.flush();
        m_client->portPresent();
    }
    void expectNoGrowth()
    {
        if (testsupport::isMemoryMeaningful)
        {
            EXPECT_LT(residentKiB(), m_residentKiB + mostGrowthKiB);
        }
    }
    /// Takes go through, and status comes back.
    void expectServed(std::uint32_t input, std::uint32_t output)
    {
        EXPECT_EQ(m_client->take({{videoLevel, 0, input, output}}), std::vector<std::uint32_t>{0});
        EXPECT_TRUE(waitForInput(*m_client, videoLevel, output, input));
    }

    static MacroLevel level(std::uint16_t levelId, std::uint32_t numOutputs)
    {
        return {.levelId = levelId,
                .levelSignalType = LST_Audio,
                .macroXptInputStart = 1,
                .numMacroXptInputs = numOutputs,
                .controllerInputStart = 1,
                .macroXptOutputStart = 1,
                .numMacroXptOutputs = numOutputs,
                .controllerOutputStart = 1};
    }

    std::optional<koraclient::KoraClient> m_client;
    std::size_t m_residentKiB = 0;
};

} // namespace

TEST_F(HostileSamplesTest, LargestLevelsByTheHundredAreBoundedAndWarnedOfOnce)
{
    HostilePub<MacroLevel> hostile(TopicName::MacroLevel, "R1");

    for (std::uint16_t levelId = 100; levelId < 700; ++levelId)
    {
        hostile.write(level(levelId, 73728));
    }
    handle(hostile);

    EXPECT_TRUE(bridge().waitForOutput("Level 103 ignored: no room beside 256 levels or 294912 outputs of all levels "
                                       "together"));
    EXPECT_EQ(bridge().output().find("Level 104 ignored"), std::string::npos);
    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, LevelsOfEveryNumberAreBoundedAndTheRoutersOwnStay)
{
    HostilePub<MacroLevel> hostile(TopicName::MacroLevel, "R1");

    for (std::uint32_t levelId = 100; levelId < 65536; ++levelId)
    {
        hostile.write(level(static_cast<std::uint16_t>(levelId), 1));
    }
    handle(hostile);

    EXPECT_TRUE(bridge().waitForOutput("TopicMacroLevel sample ignored: more instances than there is room for: 256"));
    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, LevelThatIsReplacedAgainAndAgainTakesTheMemoryOfOne)
{
    HostilePub<MacroLevel> hostile(TopicName::MacroLevel, "R1");

    for (std::uint32_t round = 0; round < 60; ++round)
    {
        hostile.write(level(100, 73728 - round % 2));
        handle(hostile);
    }

    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, RouterMembersOfEveryNumberAreBounded)
{
    HostilePub<RouterMemberMacroXpts> hostile(TopicName::RouterMemberMacroXptsDxVideo, "R1");

    for (std::uint32_t index = 100; index < 65536; ++index)
    {
        hostile.write({static_cast<std::uint16_t>(index), 1, 1, 1, 1});
    }
    handle(hostile);

    EXPECT_TRUE(bridge().waitForOutput("TopicRouterMemberMacroXptsDxVideo sample ignored: more instances than there is "
                                       "room for: 256"));
    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, MembershipsOfOtherFramesCostNothing)
{
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");

    for (std::uint32_t frame = 1000; frame < 101000; ++frame)
    {
        hostile.write({frame, "R1", 0});
    }
    handle(hostile);

    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, StatusAndLocalTargetsOfOutputsThatNoTableHasCostNothing)
{
    HostilePub<MacroXptOutput> status(TopicName::MacroXptOutputVideoStatus, "R1");
    HostilePub<MacroXptOutput> local(TopicName::MacroXptOutputAudioLocalTarget, "R1");

    for (std::uint32_t output = 3000; output < 103000; ++output)
    {
        status.write(xpt(output, 1));
        local.write(xpt(std::numeric_limits<std::uint32_t>::max() - output, 1));
    }
    handle(status);
    handle(local);

    expectNoGrowth();
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, EndsOfOutputsThatNoTableHasAreWarnedOfAndHoldUpNoController)
{
    HostilePub<MacroXptOutput> status(TopicName::MacroXptOutputVideoStatus, "R1");

    for (std::uint32_t output = 3000; output < 13000; ++output)
    {
        status.dispose(xpt(output, 0));
    }
    handle(status);

    EXPECT_TRUE(bridge().waitForOutput("TopicMacroXptOutputVideoStatus sample ignored: more ends of instances than it "
                                       "has places for: "));
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, TargetsOfOutputsThatNoTableHasReachNeitherMemoryNorStore)
{
    router().setFollowing(false);
    HostilePub<MacroXptOutput> hostile(TopicName::MacroXptOutputAudioTarget, "R1", 2);

    for (std::uint32_t output = 3000; output < 103000; ++output)
    {
        hostile.write(xpt(output, 1));
    }
    hostile.write(xpt(9, 8)); // the store has looked at all when it has this
    handle(hostile);

    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes it
    const com::tallowcrest::durability::SqliteConnection store(std::getenv("KORABRIDGE_DURABLE_STORE"));
    EXPECT_TRUE(testsupport::waitUntil([&] {
        return store.number("SELECT COUNT(*) FROM durable_sample WHERE topic = 'TopicMacroXptOutputAudioTarget' AND "
                            "instance = '9'") == 1;
    }));
    EXPECT_EQ(store.number("SELECT COUNT(*) FROM durable_sample WHERE CAST(instance AS INTEGER) > 2304"), 0);
    EXPECT_TRUE(bridge().waitForOutput(" targets of others are refused"));
    expectNoGrowth();
    router().setFollowing(true);
    expectServed(6, 7);
}

TEST_F(HostileSamplesTest, FloodOfSamplesIsNoFloodOfEventsAndHoldsUpNoController)
{
    HostilePub<MacroXptOutput> hostile(TopicName::MacroXptOutputAudioStatus, "R1");
    testsupport::Operator console;

    for (std::uint32_t round = 0; round < 20; ++round)
    {
        for (std::uint32_t output = 1; output <= 2000; ++output)
        {
            hostile.write(xpt(output, round));
        }
        expectServed(1 + round, 7);
    }

    const auto pools = flatness::parsePoolTable(console.choose("show mempool"));
    EXPECT_LE(pools.at("EventOnDataAvailable").total, 40U) << "seven readers may have four events each that wait";
    expectNoGrowth();
}
