#include "bustypes/TopicNames.h"
#include "tests/interop/PeerProcess.h"
#include "tests/unit/tools/korasim/BusCollector.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;
using korasim::Liveness;

namespace
{

template <typename T>
bool isAny(const T&)
{
    return true;
}

/// What a peer of the other implementation writes, read through our own bus layer.
class PeerToBridgeTest : public testing::Test
{
protected:
    static constexpr const char* peerPartition = "A_router_with_16"; // as long as a partition can be

    PeerProcess m_peer{peerPartition};
};

} // namespace

TEST_F(PeerToBridgeTest, EveryTypeArrivesWithAllItsFields)
{
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<RouterMemberMacroXpts> ranges(topicName(TopicName::RouterMemberMacroXptsDxAudio), peerPartition);
    BusCollector<MacroLevel> levels(topicName(TopicName::MacroLevel), peerPartition);
    BusCollector<MacroXptOutput> status(topicName(TopicName::MacroXptOutputVideoStatus), peerPartition);

    m_peer.command("member 4294967295 A_router_with_16 65535");
    m_peer.command("ranges audio 7 1 2304 2 2303");
    m_peer.command("level 65535 audio 1 2 3 4 5 6");
    m_peer.command("status video 288 4294967295 16777216 9 2");

    const auto member = members.waitFor(isAny<RouterMember>);
    ASSERT_TRUE(member) << m_peer.output();
    EXPECT_EQ(member->frameId, 4294967295U);
    EXPECT_EQ(member->routerPartition, peerPartition);
    EXPECT_EQ(member->memberIndex, 65535U);
    const auto range = ranges.waitFor(isAny<RouterMemberMacroXpts>);
    ASSERT_TRUE(range);
    EXPECT_EQ(range->memberIndex, 7U);
    EXPECT_EQ(range->macroXptInputStart, 1U);
    EXPECT_EQ(range->numMacroXptInputs, 2304U);
    EXPECT_EQ(range->macroXptOutputStart, 2U);
    EXPECT_EQ(range->numMacroXptOutputs, 2303U);
    const auto level = levels.waitFor(isAny<MacroLevel>);
    ASSERT_TRUE(level);
    EXPECT_EQ(level->levelId, 65535U);
    EXPECT_EQ(level->levelSignalType, LST_Audio);
    EXPECT_EQ(level->macroXptInputStart, 1U);
    EXPECT_EQ(level->numMacroXptInputs, 2U);
    EXPECT_EQ(level->controllerInputStart, 3U);
    EXPECT_EQ(level->macroXptOutputStart, 4U);
    EXPECT_EQ(level->numMacroXptOutputs, 5U);
    EXPECT_EQ(level->controllerOutputStart, 6U);
    const auto output = status.waitFor(isAny<MacroXptOutput>);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->macroXptOutput, 288U);
    EXPECT_EQ(output->macroXptInput, 4294967295U);
    EXPECT_EQ(output->when, 16777216U);
    EXPECT_EQ(output->lprId, 9U);
    EXPECT_EQ(output->lprState, LPR_LOCKED);
}

TEST_F(PeerToBridgeTest, EachSignalHasItsOwnTopics)
{
    BusCollector<RouterMemberMacroXpts> ranges(topicName(TopicName::RouterMemberMacroXptsDxVideo), peerPartition);
    BusCollector<MacroXptOutput> audioStatus(topicName(TopicName::MacroXptOutputAudioStatus), peerPartition);
    BusCollector<MacroXptOutput> videoLocal(topicName(TopicName::MacroXptOutputVideoLocalTarget), peerPartition);
    BusCollector<MacroXptOutput> audioLocal(topicName(TopicName::MacroXptOutputAudioLocalTarget), peerPartition);

    m_peer.command("ranges video 1 1 288 1 288");
    m_peer.command("status audio 1 2 0 0 0");
    m_peer.command("local-target video 3 4 0 0 1");
    m_peer.command("local-target audio 5 6 0 0 0");

    EXPECT_TRUE(ranges.waitFor([](const auto& sample) { return sample.numMacroXptOutputs == 288; }));
    EXPECT_TRUE(audioStatus.waitFor([](const auto& sample) { return sample.macroXptInput == 2; }));
    EXPECT_TRUE(videoLocal.waitFor([](const auto& sample) { return sample.lprState == LPR_PROTECTED; }));
    EXPECT_TRUE(audioLocal.waitFor([](const auto& sample) { return sample.macroXptInput == 6; }));
    EXPECT_EQ(videoLocal.data().size(), 1U);
}

TEST_F(PeerToBridgeTest, ReaderThatComesLateGetsTheLastSampleOfEveryInstance)
{
    m_peer.command("member 17 A_router_with_16 0");
    for (int output = 1; output <= 40; ++output)
    {
        m_peer.command("status video " + std::to_string(output) + " 1 0 0 0");
        m_peer.command("status video " + std::to_string(output) + " 2 0 0 0");
    }

    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<MacroXptOutput> status(topicName(TopicName::MacroXptOutputVideoStatus), peerPartition);

    EXPECT_TRUE(members.waitFor(isAny<RouterMember>));
    ASSERT_TRUE(testsupport::waitUntil([&] { return status.data().size() >= 40; })) << status.data().size();
    for (const auto& sample : status.data())
    {
        EXPECT_EQ(sample.macroXptInput, 2U) << sample.macroXptOutput;
    }
}

TEST_F(PeerToBridgeTest, DisposedAndUnregisteredInstancesKeepTheirKeys)
{
    BusCollector<RouterMember> members(topicName(TopicName::RouterMember), "");
    BusCollector<MacroLevel> levels(topicName(TopicName::MacroLevel), peerPartition);
    BusCollector<MacroXptOutput> status(topicName(TopicName::MacroXptOutputVideoStatus), peerPartition);
    m_peer.command("member 17 A_router_with_16 0");
    m_peer.command("level 258 video 1 2 3 4 5 6");
    m_peer.command("status video 70000 1 0 0 0");
    m_peer.command("status video 70001 1 0 0 0");
    ASSERT_TRUE(members.waitFor(isAny<RouterMember>));
    ASSERT_TRUE(levels.waitFor(isAny<MacroLevel>));
    ASSERT_TRUE(status.waitFor([](const auto& sample) { return sample.macroXptOutput == 70001; }));

    m_peer.command("member-dispose 17 A_router_with_16 0");
    m_peer.command("level-dispose 258 video 1 2 3 4 5 6");
    m_peer.command("status-dispose video 70000 1 0 0 0");
    m_peer.command("status-unregister video 70001 1 0 0 0");

    EXPECT_EQ(members.waitForEnd([](const auto& key) { return key.frameId == 17; }), Liveness::Disposed);
    EXPECT_EQ(levels.waitForEnd([](const auto& key) { return key.levelId == 258; }), Liveness::Disposed);
    EXPECT_EQ(status.waitForEnd([](const auto& key) { return key.macroXptOutput == 70000; }), Liveness::Disposed);
    EXPECT_EQ(status.waitForEnd([](const auto& key) { return key.macroXptOutput == 70001; }), Liveness::NoWriters);
}

TEST_F(PeerToBridgeTest, PartitionsOfOtherRoutersStaySilent)
{
    BusCollector<MacroXptOutput> other(topicName(TopicName::MacroXptOutputVideoStatus), "R2");
    BusCollector<MacroXptOutput> bare(topicName(TopicName::MacroXptOutputVideoStatus), "");
    BusCollector<MacroXptOutput> own(topicName(TopicName::MacroXptOutputVideoStatus), peerPartition);

    m_peer.command("status video 1 2 0 0 0");

    ASSERT_TRUE(own.waitFor(isAny<MacroXptOutput>));
    EXPECT_TRUE(other.data().empty());
    EXPECT_TRUE(bare.data().empty());
}
