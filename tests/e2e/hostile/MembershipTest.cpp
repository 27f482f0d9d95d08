#include "buswrappers/Participant.h"
#include "dds/sub/DataReader.hpp"
#include "tests/e2e/console/OperatorFixture.h"
#include "tests/e2e/hostile/HostilePub.h"

#include <string>

using namespace e2e;
using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;

namespace
{

constexpr auto wildcardLine = "TopicRouterMember sample ignored: the partition holds a wildcard: ";
constexpr auto printableLine = "TopicRouterMember sample ignored: the partition is not printable ASCII: ";

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    {
        ++count;
    }
    return count;
}

class HostileMembershipTest : public OperatorFixture
{
protected:
    /// The bridge has handled what it has received.
    static void handle(HostilePub<RouterMember>& hostile, koraclient::KoraClient& client)
    {
        hostile.flush();
        client.portPresent();
    }

    /// What the router of another partition gets of the video targets.
    static dds::sub::DataReader<MacroXptOutput> readerOfR2()
    {
        namespace routing = com::tallowcrest::routing;
        const auto participant = routing::sharedParticipant();
        const dds::topic::Topic<MacroXptOutput> topic(
            participant, routing::topicName(TopicName::MacroXptOutputVideoTarget),
            routing::busTopicQos(participant, dds::core::policy::DurabilityKind::TRANSIENT_LOCAL));
        return {dds::sub::Subscriber(participant, routing::busSubscriberQos(participant, "R2")), topic,
                dds::sub::qos::DataReaderQos(topic.qos())};
    }
};

} // namespace

TEST_F(HostileMembershipTest, PartitionThatMatchesOtherRoutersIsRefusedOnceWarnedOfAndTheBridgeStays)
{
    startJoined();
    auto client = connectController();
    auto elsewhere = readerOfR2();
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");

    for (const char* const partition : {"*", "R?", "[R]*", "*", "?2"})
    {
        hostile.write({frameId, partition, 0});
        handle(hostile, client);
    }

    EXPECT_TRUE(bridge().waitForOutput(wildcardLine));
    EXPECT_EQ(client.take({{videoLevel, 0, 5, 7}}), std::vector<std::uint32_t>{0});
    EXPECT_TRUE(record().waitForTarget(Signal::Video, 7, [](const auto& target) { return target.macroXptInput == 5; }));
    EXPECT_TRUE(waitForInput(client, videoLevel, 7, 5));
    EXPECT_EQ(elsewhere.take().length(), 0U) << "the take is for one router";
    EXPECT_EQ(countOf(bridge().output(), "TopicMacroLevel joinRouterPartition"), 1U);
    EXPECT_EQ(countOf(bridge().output(), wildcardLine), 1U) << "repeats are counted";
}

TEST_F(HostileMembershipTest, SoundMembershipAfterARefusedOneIsFollowed)
{
    startJoined();
    auto client = connectController();
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");
    hostile.write({frameId, "*", 0});
    handle(hostile, client);

    router().reAnnounce("R2");

    EXPECT_TRUE(bridge().waitForOutput("TopicMacroLevel joinRouterPartition(routerPartition 'R2')"));
}

TEST_F(HostileMembershipTest, EscapeSequencesAndLineEndsReachNeitherTheLogNorTheOperator)
{
    startJoined();
    auto client = connectController();
    testsupport::Operator sut;
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");

    for (const char* const partition : {"\x1b[2J\x1b]0;x\x07", "R1\nWARN forged",
                                        "\xc2\x9b"
                                        "2J"})
    {
        hostile.write({frameId, partition, 0});
        handle(hostile, client);
    }

    EXPECT_TRUE(
        bridge().waitForOutput(std::string(printableLine) +
                               R"({"frameId":17,"routerPartition":"\u001b[2J\u001b]0;x\u0007","memberIndex":0})"));
    const std::string seen = sut.choose("show tasks") + bridge().output();
    EXPECT_EQ(seen.find('\x1b'), std::string::npos);
    EXPECT_EQ(seen.find('\xc2'), std::string::npos);
    EXPECT_EQ(seen.find("\nWARN forged"), std::string::npos);
    EXPECT_EQ(countOf(bridge().output(), "TopicMacroLevel joinRouterPartition"), 1U);
}
