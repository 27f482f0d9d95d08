#include "tests/e2e/security/SecuredBus.h"
#include "tests/support/Places.h"

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using testsupport::waitUntil;

/// Somebody with certificates of this bus who wants more than they permit, and whose own security plugins do not hold
/// him back.
class HostileMemberTest : public SecuredBus
{
protected:
    Child startHostileRouter(const std::string& name, const std::string& partition) const
    {
        return startInside("korasim", {"--frame", "17", "--partition", partition}, certificatesOf(name), {},
                           Conduct::Hostile);
    }
    /// A bridge as somebody with the certificates of `name` runs it; it gets the port for controllers.
    void startHostileBridge(const std::string& name)
    {
        m_bridge =
            startInside("korabridge", {"17", "4", "Bridge Two", "hostile"}, certificatesOf(name),
                        {{"KORABRIDGE_DURABLE_STORE", (m_directory.path() / "hostile.db").string()}}, Conduct::Hostile);
    }
    bool bridgeShows(koraclient::KoraClient& controller, std::uint32_t output, std::uint32_t input,
                     std::chrono::milliseconds within)
    {
        return waitUntil(
            [&] {
                const auto entry = controller.outputStatus(0, videoLevel, output, 1).entries.at(0);
                return entry.result == 0 && entry.input == input;
            },
            within);
    }
};

TEST_F(HostileMemberTest, StatusOfAnObserverIsNotBelieved)
{
    const auto inside = startSecuredRouter("R1");
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 7, 5));

    const auto observer = startHostileRouter("desk", "R1");
    ASSERT_TRUE(observer->waitForOutput("target video output 7 input 5")) << observer->errors(); // it may read
    observer->write("status video 8 100\nreannounce EVIL\n");

    EXPECT_FALSE(bridgeShows(controller, 8, 100, 2s));
    EXPECT_EQ(bridge().output().find("EVIL"), std::string::npos);
    // A router's permissions are all that it lacks.
    const auto router = startHostileRouter("router1", "R1");
    ASSERT_TRUE(router->waitForOutput("target video output 7 input 5")) << router->errors();
    router->write("status video 8 100\n");
    EXPECT_TRUE(bridgeShows(controller, 8, 100, 10s));
}

TEST_F(HostileMemberTest, TargetOfAnObserverIsNotBelieved)
{
    const auto inside = startSecuredRouter("R1");
    startHostileBridge("desk");
    {
        auto controller = connectController();
        ASSERT_TRUE(takes(controller, 7, 5)); // it may read, so it has joined, and thinks that it has taken

        EXPECT_FALSE(inside->waitForOutput("target video output 7", 2s));
        EXPECT_EQ(inside->output().find("component frame 17 id 4"), std::string::npos);
    }
    EXPECT_EQ(stopBridge(), 0);

    // A bridge's permissions are all that it lacked.
    startHostileBridge("frame17");
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    EXPECT_TRUE(inside->waitForOutput("target video output 7 input 5"));
}

TEST_F(HostileMemberTest, RouterHeldToItsPartitionIsNotBelievedInAnother)
{
    makeCertificates(m_directory.path() / "bus", {"router=first@R1", "router=second@R2"});
    const auto inside = startInside("korasim", {"--frame", "17", "--partition", "R2"}, certificatesOf("second"));
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 7, 5));

    // Its own library already refuses it the partition; without that, the others do.
    const auto honest = startInside("korasim", {"--frame", "18", "--partition", "R2"}, certificatesOf("first"));
    EXPECT_EQ(honest->waitForExit(), 1);
    EXPECT_NE(honest->errors().find("Not Allowed By Security"), std::string::npos) << honest->errors();
    const auto wildcard = startInside("korasim", {"--frame", "18", "--partition", "*"}, certificatesOf("first"));
    EXPECT_EQ(wildcard->waitForExit(), 1);
    const auto hostile =
        startInside("korasim", {"--frame", "18", "--partition", "R2"}, certificatesOf("first"), {}, Conduct::Hostile);
    ASSERT_TRUE(hostile->waitForOutput("component frame 17 id 3")) << hostile->errors(); // it is on the bus
    hostile->write("status video 8 100\n");

    EXPECT_FALSE(bridgeShows(controller, 8, 100, 2s));
    EXPECT_EQ(hostile->output().find("target video"), std::string::npos) << "nor may it read there";
    // The router of the partition is believed.
    inside->write("status video 8 100\n");
    EXPECT_TRUE(bridgeShows(controller, 8, 100, 10s));
}

TEST_F(HostileMemberTest, SampleWithoutProofOfItsWriterIsNotBelieved)
{
    const auto router = startHostileRouter("router1", "R1");
    startSecuredBridge();
    auto controller = connectController();
    ASSERT_TRUE(takes(controller, 7, 5));
    ASSERT_TRUE(waitForInput(controller, videoLevel, 7, 5));

    testsupport::writeFile(forgeFile(), "");
    router->write("status video 8 100\n");
    EXPECT_FALSE(bridgeShows(controller, 8, 100, 2s));

    // Sent once more with its proof, the same sample arrives.
    std::filesystem::remove(forgeFile());
    EXPECT_TRUE(bridgeShows(controller, 8, 100, 20s));
}

} // namespace
} // namespace e2e
