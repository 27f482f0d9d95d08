#include "runtime/util/UniqueFd.h"
#include "tests/e2e/hostile/HostileFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>

using namespace e2e;

namespace
{

using com::tallowcrest::util::UniqueFd;
using testsupport::waitForClosedPort;
using testsupport::waitForPort;

/// Another account's program that would like to be the bridge.
class PortHeldTest : public HostileFixture
{
protected:
    /// What it tries to listen on, with all that the system offers for it; true when anything helped.
    static bool isTakenByAnother()
    {
        bool taken = false;
        for (const char* const address : {"0.0.0.0", "127.0.0.1", "127.0.0.7"})
        {
            for (const int option : {0, SO_REUSEADDR, SO_REUSEPORT})
            {
                taken = canBind(address, option) || taken;
            }
        }
        return taken;
    }

private:
    static bool canBind(const char* address, int option)
    {
        const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        if (option != 0)
        {
            EXPECT_EQ(::setsockopt(socket.get(), SOL_SOCKET, option, &on, sizeof on), 0);
        }
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_port = htons(koraPort);
        EXPECT_EQ(::inet_pton(AF_INET, address, &own.sin_addr), 1);
        return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0;
    }
};

} // namespace

TEST_F(PortHeldTest, NobodyElseGetsThePortWhileTheBridgeHasNoRouterAndControllersAreRefused)
{
    startBridge();
    ASSERT_TRUE(bridge().waitForOutput("Starting korabridge"));
    ASSERT_TRUE(testsupport::waitUntil([] { return !isTakenByAnother(); }));

    EXPECT_FALSE(TcpSocket::connect(koraPort)) << "refused by the system";
    EXPECT_FALSE(testsupport::isListening(koraPort));
    router().announce();
    ASSERT_TRUE(waitForPort(koraPort));
    EXPECT_FALSE(isTakenByAnother());
    EXPECT_EQ(connectController().portPresent(), 0U);
}

TEST_F(PortHeldTest, NobodyElseGetsThePortWhileAllSlotsAreTaken)
{
    startJoined();
    std::vector<koraclient::KoraClient> clients;
    for (int i = 0; i < 16; ++i)
    {
        clients.push_back(connectController());
        EXPECT_EQ(clients.back().portPresent(), 0U);
    }
    ASSERT_TRUE(waitForClosedPort(koraPort));

    EXPECT_FALSE(isTakenByAnother());
    EXPECT_FALSE(TcpSocket::connect(koraPort));

    clients.pop_back();
    ASSERT_TRUE(waitForPort(koraPort));
    EXPECT_EQ(connectController().portPresent(), 0U);
}

TEST_F(PortHeldTest, NextBridgeHasThePortAlthoughTheLastOnesConnectionsLinger)
{
    startJoined();
    auto controller = connectController();
    EXPECT_EQ(controller.portPresent(), 0U);
    EXPECT_EQ(stopBridge(), 0); // its end closes first, so its connection waits in TIME_WAIT

    startBridge();

    waitForJoin();
    EXPECT_EQ(connectController().portPresent(), 0U);
    EXPECT_EQ(bridge().output().find("failed binding socket"), std::string::npos);
}
