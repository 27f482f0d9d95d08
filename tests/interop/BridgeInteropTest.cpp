#include "koraclient/KoraClient.h"
#include "tests/interop/PeerProcess.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <csignal>

using testsupport::ChildProcess;
using testsupport::programPath;
using testsupport::waitForPort;
using testsupport::waitUntil;

namespace
{

constexpr std::uint32_t videoLevel = 1;
constexpr std::uint32_t audioLevel = 2;
using Results = std::vector<std::uint32_t>;

/// The real bridge beside a router that speaks through another DDS implementation.
class BridgeInteropTest : public testing::Test
{
protected:
    ~BridgeInteropTest() override
    {
        if (HasFailure())
        {
            std::cerr << "--- peer\n" << m_peer.output() << "--- bridge\n" << m_bridge.output() << m_bridge.errors();
        }
    }

    /// The router announces itself; the bridge joins it and knows what it offers.
    void join()
    {
        m_peer.command("ranges video 0 1 288 1 288");
        m_peer.command("ranges audio 0 1 2304 1 2304");
        m_peer.command("member 17 R1 0");
        ASSERT_TRUE(waitForPort(koraclient::KoraClient::defaultPort, std::chrono::seconds(30)));
        ASSERT_TRUE(m_bridge.waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"));
        ASSERT_TRUE(m_bridge.waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputAudioTarget"));
    }

    static koraclient::KoraClient connect()
    {
        return koraclient::KoraClient::connect("127.0.0.1", koraclient::KoraClient::defaultPort,
                                               testsupport::scaled(std::chrono::seconds(10)));
    }

    static bool waitForStatus(koraclient::KoraClient& client, std::uint32_t level, std::uint32_t output,
                              const koraclient::OutputStatus& status)
    {
        return waitUntil([&] { return client.outputStatus(0, level, output, 1).entries.at(0) == status; });
    }

    PeerProcess m_peer{"R1"};
    ChildProcess m_bridge{programPath("korabridge"), {"17", "1", "Interop", "interop test"}};
};

} // namespace

TEST_F(BridgeInteropTest, TakeReachesTheRouterAndItsStatusReachesTheController)
{
    ASSERT_NO_FATAL_FAILURE(join());
    auto controller = connect();

    ASSERT_EQ(controller.take({{videoLevel, 42, 5, 7}, {audioLevel, 42, 2304, 2303}}), (Results{0, 0}));

    EXPECT_FALSE(m_peer.waitForLineWith("video-target output=7 input=5 ").empty());
    EXPECT_FALSE(m_peer.waitForLineWith("audio-target output=2303 input=2304 ").empty());
    m_peer.command("status video 7 5 0 42 0");
    m_peer.command("status audio 2303 2304 0 42 0");
    EXPECT_TRUE(waitForStatus(controller, videoLevel, 7, {.result = 0, .input = 5, .lprState = 0, .lprId = 42}));
    EXPECT_TRUE(waitForStatus(controller, audioLevel, 2303, {.result = 0, .input = 2304, .lprState = 0, .lprId = 42}));
}

TEST_F(BridgeInteropTest, LockTravelsBothWays)
{
    ASSERT_NO_FATAL_FAILURE(join());
    auto controller = connect();
    ASSERT_EQ(controller.take({{videoLevel, 42, 5, 7}}), Results{0});

    ASSERT_EQ(controller.setOutputLpr({{videoLevel, 7, koraclient::LprCommand::lock, 42}}).results, Results{0});

    EXPECT_TRUE(waitUntil([&] {
        const std::string line = m_peer.waitForLineWith("video-target output=7 ");
        return line.ends_with("lprId=42 lprState=2");
    })) << m_peer.output();
    m_peer.command("status video 7 5 0 42 2");
    const auto locked = static_cast<std::uint32_t>(koraclient::LprState::locked);
    EXPECT_TRUE(waitForStatus(controller, videoLevel, 7, {.result = 0, .input = 5, .lprState = locked, .lprId = 42}));
    EXPECT_EQ(controller.take({{videoLevel, 42, 6, 7}}), Results{12});
}

TEST_F(BridgeInteropTest, LevelOfTheRouterServesControllers)
{
    ASSERT_NO_FATAL_FAILURE(join());
    auto controller = connect();

    m_peer.command("level 9 video 11 10 101 21 10 201");

    ASSERT_TRUE(waitUntil([&] { return controller.take({{9, 0, 103, 204}}) == Results{0}; }));
    EXPECT_FALSE(m_peer.waitForLineWith("video-target output=24 input=13 ").empty());
}

TEST_F(BridgeInteropTest, DisposedStatusIsNoRouteAtTheController)
{
    ASSERT_NO_FATAL_FAILURE(join());
    auto controller = connect();
    m_peer.command("status video 7 5 0 0 0");
    ASSERT_TRUE(waitForStatus(controller, videoLevel, 7, {.result = 0, .input = 5, .lprState = 0, .lprId = 0}));

    m_peer.command("status-dispose video 7 5 0 0 0");

    EXPECT_TRUE(waitUntil([&] { return controller.outputStatus(0, videoLevel, 7, 1).entries.at(0).input != 5; }));
}

TEST_F(BridgeInteropTest, ComponentRecordIsSeenAndLosesItsWriterAtTheEnd)
{
    EXPECT_TRUE(m_peer.waitForLine("component frameId=17 componentId=1 name='Interop' description='interop test'"));

    m_bridge.signal(SIGTERM);

    EXPECT_EQ(m_bridge.waitForExit(), 0);
    EXPECT_TRUE(m_peer.waitForLine("component writers 0"));
    EXPECT_EQ(m_peer.output().find("component disposed"), std::string::npos);
}
