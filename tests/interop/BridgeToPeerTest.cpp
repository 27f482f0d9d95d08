#include "bustypes/TopicNames.h"
#include "buswrappers/ComponentInfoPub.h"
#include "buswrappers/TypedTopics.h"
#include "runtime/apartment/Apartment.h"
#include "tests/interop/PeerProcess.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::routing::ComponentInfoPub;
using com::tallowcrest::routing::MacroXptOutputPub;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;

namespace
{

constexpr bool isDurable = true;
constexpr bool isNotDurable = false;

/// Writes a target until the peer has seen it: from then on writer and reader know each other. What a PERSISTENT writer
/// writes before that is the business of the durable store, not of the reader.
bool writeUntilSeen(MacroXptOutputPub& pub, const PeerProcess& peer, const MacroXptOutput& target)
{
    const std::string label = pub.topicName() == topicName(TopicName::MacroXptOutputVideoTarget) ? "video" : "audio";
    const std::string begin = label + "-target output=" + std::to_string(target.macroXptOutput) + " ";
    return testsupport::waitUntil([&] {
        pub.write(target);
        return !peer.waitForLineWith(begin, std::chrono::milliseconds(20)).empty();
    });
}

/// A component record writer as the bridge has it.
class Announcer
{
public:
    Announcer() : m_apartment(std::make_shared<Apartment>("Interop Apartment"))
    {
        m_apartment->start();
        m_pub = std::make_unique<ComponentInfoPub>(m_apartment, topicName(TopicName::ComponentInfoKoraBridge));
    }
    ~Announcer() { m_apartment->stop(); }
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    ComponentInfoPub& pub() { return *m_pub; }

private:
    std::shared_ptr<Apartment> m_apartment;
    std::unique_ptr<ComponentInfoPub> m_pub;
};

} // namespace

TEST(BridgeToPeerTest, DurableTargetsReachAPeerThatAsksForLess)
{
    PeerProcess peer("R1");
    MacroXptOutputPub video(topicName(TopicName::MacroXptOutputVideoTarget), isDurable);
    MacroXptOutputPub audio(topicName(TopicName::MacroXptOutputAudioTarget), isDurable);
    video.joinRouterPartition("R1");
    audio.joinRouterPartition("R1");
    ASSERT_TRUE(writeUntilSeen(video, peer, {.macroXptOutput = 1})) << peer.output();
    ASSERT_TRUE(writeUntilSeen(audio, peer, {.macroXptOutput = 1})) << peer.output();

    video.write({.macroXptOutput = 3, .macroXptInput = 7, .when = 33554432, .lprId = 9, .lprState = LPR_PROTECTED});
    audio.write({.macroXptOutput = 2304, .macroXptInput = 4294967295U, .lprState = LPR_LOCKED});

    EXPECT_TRUE(peer.waitForLine("video-target output=3 input=7 when=33554432 lprId=9 lprState=1"));
    EXPECT_TRUE(peer.waitForLine("audio-target output=2304 input=4294967295 when=0 lprId=0 lprState=2"));
    EXPECT_EQ(peer.output().find("incompatible-qos"), std::string::npos);
}

TEST(BridgeToPeerTest, HundredsOfTargetsInABurstAllArrive)
{
    PeerProcess peer("R1");
    MacroXptOutputPub video(topicName(TopicName::MacroXptOutputVideoTarget), isDurable);
    video.joinRouterPartition("R1");
    ASSERT_TRUE(writeUntilSeen(video, peer, {.macroXptOutput = 1000}));

    for (std::uint32_t output = 1; output <= 288; ++output)
    {
        video.write({.macroXptOutput = output, .macroXptInput = 289 - output});
    }

    for (std::uint32_t output = 1; output <= 288; ++output)
    {
        ASSERT_TRUE(peer.waitForLine("video-target output=" + std::to_string(output) +
                                     " input=" + std::to_string(289 - output) + " when=0 lprId=0 lprState=0"))
            << output;
    }
}

TEST(BridgeToPeerTest, DisposedTargetIsDisposedOfAtThePeer)
{
    PeerProcess peer("R1");
    MacroXptOutputPub video(topicName(TopicName::MacroXptOutputVideoTarget), isDurable);
    video.joinRouterPartition("R1");
    ASSERT_TRUE(writeUntilSeen(video, peer, {.macroXptOutput = 70000, .macroXptInput = 1}));

    video.dispose({.macroXptOutput = 70000});

    EXPECT_TRUE(peer.waitForLine("video-target disposed output=70000")) << peer.output();
}

TEST(BridgeToPeerTest, PeerThatComesLateGetsTransientLocalSamples)
{
    MacroXptOutputPub video(topicName(TopicName::MacroXptOutputVideoTarget), isNotDurable);
    video.joinRouterPartition("R1");
    for (std::uint32_t output = 1; output <= 20; ++output)
    {
        video.write({.macroXptOutput = output, .macroXptInput = 1});
        video.write({.macroXptOutput = output, .macroXptInput = 2});
    }

    PeerProcess peer("R1");

    for (std::uint32_t output = 1; output <= 20; ++output)
    {
        EXPECT_TRUE(
            peer.waitForLine("video-target output=" + std::to_string(output) + " input=2 when=0 lprId=0 lprState=0"))
            << output;
    }
    EXPECT_EQ(peer.output().find(" input=1 "), std::string::npos);
}

TEST(BridgeToPeerTest, WriterThatMovesToAnotherPartitionLeavesThePeer)
{
    PeerProcess peer("R1");
    MacroXptOutputPub video(topicName(TopicName::MacroXptOutputVideoTarget), isDurable);
    video.joinRouterPartition("R1");
    ASSERT_TRUE(peer.waitForLine("video-target writers 1"));

    video.joinRouterPartition("R2");

    EXPECT_TRUE(peer.waitForLine("video-target writers 0")) << peer.output();
}

TEST(BridgeToPeerTest, ComponentRecordArrivesAtItsFullLengthAndItsWriterGoes)
{
    const std::string name(32, 'n');
    const std::string description(128, 'd');
    PeerProcess peer("R1");
    {
        Announcer sut;
        sut.pub().publish(17, 4294967295U, name, description);
        EXPECT_TRUE(peer.waitForLine("component frameId=17 componentId=4294967295 name='" + name + "' description='" +
                                     description + "'"))
            << peer.output();

        sut.pub().withdraw(17, 4294967295U, name, description);
    }
    EXPECT_TRUE(peer.waitForLine("component writers 0")) << peer.output();
    EXPECT_EQ(peer.output().find("component disposed"), std::string::npos);
}
