#include "tests/e2e/security/SecuredBus.h"

#include "tests/e2e/security/WireTap.h"
#include "tests/support/Places.h"

#include <csignal>
#include <filesystem>
#include <regex>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::waitUntil;

class SecuredBusTest : public SecuredBus
{
protected:
    /// What somebody without a certificate has learnt of the bridge.
    bool outsiderKnowsTheBridge()
    {
        return record().component(frameId, bridgeId).has_value() || record().targetCount(Signal::Video) > 0 ||
               record().targetCount(Signal::Audio) > 0;
    }
};

TEST_F(SecuredBusTest, BridgeAndRouterWithCertificatesTakeTogether)
{
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();

    ASSERT_TRUE(takes(controller, 7, 5));

    EXPECT_TRUE(inside->waitForOutput("component frame 17 id 3 'Bridge One'"));
    EXPECT_TRUE(inside->waitForOutput("target video output 7 input 5 lprId 42"));
    EXPECT_TRUE(waitForInput(controller, videoLevel, 7, 5));
    EXPECT_EQ(stopBridge(), 0);
    EXPECT_TRUE(inside->waitForOutput("component frame 17 id 3 no writers")) << inside->output();
}

TEST_F(SecuredBusTest, ParticipantWithoutACertificateSeesNothing)
{
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();
    router().reAnnounce("R1"); // the outsider listens in the right place

    for (std::uint32_t output = 1; output <= 50; ++output)
    {
        ASSERT_TRUE(takes(controller, output, output));
    }
    ASSERT_TRUE(inside->waitForOutput("target video output 50 input 50"));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 50, 50));

    EXPECT_FALSE(waitUntil([this] { return outsiderKnowsTheBridge(); }, 2s));
    EXPECT_EQ(stopBridge(), 0);

    // The same outsider sees an open bridge, so it was the certificate that was missing and nothing else.
    startBridge();
    EXPECT_TRUE(waitUntil([this] { return outsiderKnowsTheBridge(); }));
}

TEST_F(SecuredBusTest, ParticipantWithoutACertificateSendsNothing)
{
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 7, 5));

    // It claims the frame for another router, and in the right partition it reports other routes, sets targets, and
    // defines a level.
    router().reAnnounce("R1");
    router().setStatus(Signal::Video, xpt(7, 100));
    router().localTarget(Signal::Video, xpt(8, 100));
    router().publishLevel({.levelId = 9,
                           .levelSignalType = com::tallowcrest::dds_::routing::LST_Video,
                           .macroXptInputStart = 1,
                           .numMacroXptInputs = 8,
                           .controllerInputStart = 1,
                           .macroXptOutputStart = 1,
                           .numMacroXptOutputs = 8,
                           .controllerOutputStart = 1});
    router().reAnnounce("EVIL");
    router().setStatus(Signal::Video, xpt(7, 101));

    // What comes from inside meanwhile arrives.
    ASSERT_TRUE(takes(controller, 9, 6));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 9, 6));
    EXPECT_FALSE(waitUntil(
        [this] { return bridge().output().find("joinRouterPartition(routerPartition 'EVIL')") != std::string::npos; },
        2s));
    const auto status = controller.outputStatus(0, videoLevel, 7, 2).entries;
    EXPECT_EQ(status.at(0).input, 5U);
    EXPECT_NE(status.at(1).input, 100U);
    EXPECT_EQ(controller.take({{.level = 9, .lprId = 1, .input = 1, .output = 1}}).at(0), 5U);
    EXPECT_EQ(inside->output().find("output 8 input 100"), std::string::npos);
    EXPECT_EQ(stopBridge(), 0);

    // The same outsider moves an open bridge.
    startBridge();
    EXPECT_TRUE(bridge().waitForOutput("joinRouterPartition(routerPartition 'EVIL')", 20s));
}

TEST_F(SecuredBusTest, CertificateOfAnotherAuthorityIsNoCertificate)
{
    makeCertificates(m_directory.path() / "foreign", {"router=router1"});
    const auto foreign =
        startInside("korasim", {"--frame", "17", "--partition", "EVIL"}, m_directory.path() / "foreign" / "router1");
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();

    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(inside->waitForOutput("target video output 7 input 5 lprId 42"));

    EXPECT_FALSE(foreign->waitForOutput("component", 2s)) << foreign->output();
    EXPECT_EQ(foreign->output().find("target"), std::string::npos);
    EXPECT_EQ(bridge().output().find("EVIL"), std::string::npos);
}

TEST_F(SecuredBusTest, CertificateOfAnObserverDoesNotPermitToWrite)
{
    const auto observer = startInside("korasim", {"--frame", "17"}, certificatesOf("desk"));

    EXPECT_EQ(observer->waitForExit(), 1);
    EXPECT_NE(observer->errors().find("Not Allowed By Security"), std::string::npos) << observer->errors();
}

TEST_F(SecuredBusTest, BridgeWithoutPermissionForItsTopicsEndsWithStatusOne)
{
    m_bridge = startInside("korabridge", {"17", "3", "n", "d"}, certificatesOf("router1"));

    EXPECT_EQ(bridge().waitForExit(), 1);
    EXPECT_NE(bridge().errors().find("korabridge: creating the writer of topic \"TopicComponentInfoKoraBridge\": Not "
                                     "Allowed By Security"),
              std::string::npos)
        << bridge().errors();
}

TEST_F(SecuredBusTest, BridgeWithoutItsCertificatesEndsWithStatusOneAndNamesTheFile)
{
    m_bridge = startInside("korabridge", {"17", "3", "n", "d"}, m_directory.path() / "none");

    EXPECT_EQ(bridge().waitForExit(), 1);
    EXPECT_NE(bridge().errors().find((m_directory.path() / "none" / "identity-ca.pem").string()), std::string::npos)
        << bridge().errors();
}

TEST_F(SecuredBusTest, TargetsReachASecondBridgeThroughTheCompanionTopics)
{
    makeCertificates(m_directory.path() / "bus", {"bridge=frame18"});
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    const auto store = m_directory.path() / "second.db";
    // The second has the same frame, so that it joins the same router; its ports are taken, which does not matter here.
    const auto second = startInside(
        "korabridge", {"17", "4", "Bridge Two", "another"}, certificatesOf("frame18"),
        {{"KORABRIDGE_DURABLE_STORE", store.string()}, {"KORABRIDGE_DURABLE_MEMORY", m_directory.path().string()}});

    std::string seen;
    EXPECT_TRUE(waitUntil(
        [&] {
            ChildProcess look("/usr/bin/sqlite3", {"-readonly", store.string(),
                                                   "SELECT instance FROM durable_sample WHERE topic = "
                                                   "'TopicMacroXptOutputVideoTarget'"});
            look.waitForExit();
            seen = look.output() + look.errors();
            return seen == "7\n";
        },
        20s))
        << seen << second->output() << second->errors();
    second->signal(SIGTERM);
    EXPECT_EQ(second->waitForExit(), 0);
}

TEST_F(SecuredBusTest, BridgeWithoutLeaveForTheCompanionTopicsSaysSoAndRunsOn)
{
    const auto templates = m_directory.path() / "templates";
    std::filesystem::copy(testsupport::sourceFolder() / "config/security", templates);
    const std::string permissions = testsupport::readFile(templates / "permissions-bridge.xml");
    testsupport::writeFile(templates / "permissions-bridge.xml",
                           std::regex_replace(permissions, std::regex(".*_durable.*\n"), ""));
    makeCertificates(m_directory.path() / "bus", {"bridge=frame17"}, {{"SECURITY_TEMPLATES", templates.string()}});
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();

    ASSERT_TRUE(takes(controller, 7, 5));

    EXPECT_TRUE(inside->waitForOutput("target video output 7 input 5 lprId 42"));
    EXPECT_TRUE(bridge().waitForOutput(
        "cannot meet other bridges: creating topic \"TopicMacroXptOutputVideoTarget_durable\" of type "
        "com::tallowcrest::durability_::ChannelStatus: Not Allowed By Security"));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(SecuredBusTest, NothingOfTheBusIsReadableOnTheNetwork)
{
    // What only those inside say; the outsider of this test speaks too, and openly. Topic names are no secret: they
    // stand in the permissions, which are shown when two participants meet.
    const std::vector<std::string> secrets{"routing:Secret9", "Bridge One", "bridge under test"};
    const WireTap tap;
    const auto inside = startSecuredRouter("Secret9");
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(inside->waitForOutput("target video output 7 input 5 lprId 42"));
    ASSERT_TRUE(waitUntil([&] { return tap.packets() > 100; }));
    EXPECT_EQ(stopBridge(), 0);

    for (const auto& secret : secrets)
    {
        EXPECT_FALSE(tap.hasSeen(secret)) << secret;
    }

    // The tap would have seen it: without security it does.
    startBridge();
    router().reAnnounce("Secret9");
    for (const auto& secret : secrets)
    {
        EXPECT_TRUE(waitUntil([&] { return tap.hasSeen(secret); })) << secret;
    }
}

} // namespace
} // namespace e2e
