#include "runtime/util/UniqueFd.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/Places.h"
#include "tests/support/SocketAddress.h"

#include <poll.h>
#include <sys/socket.h>

namespace e2e
{
namespace
{

using testsupport::ChildProcess;
using testsupport::TcpSocket;

const std::string rulesFile = testsupport::sourceFolder() / "config/security/korabridge.nft";

int nft(const std::vector<std::string>& arguments)
{
    ChildProcess program("/usr/sbin/nft", arguments);
    const auto status = program.waitForExit().value_or(-1);
    EXPECT_EQ(status, 0) << program.errors();
    return status;
}

/// The shipped rules in this test's own network namespace, where all addresses of 127.0.0.0/8 are this machine.
class FirewallTest : public BridgeFixture
{
protected:
    void SetUp() override
    {
        ChildProcess probe("/usr/sbin/nft", {"list", "tables"});
        if (std::getenv("KORABRIDGE_IN_NAMESPACE") == nullptr || probe.waitForExit() != 0)
        {
            GTEST_SKIP() << "needs a network namespace of its own and nftables";
        }
    }
    /// True when a peer at `from` gets a connection to a port within a second.
    static bool canConnect(const std::string& from, std::uint16_t port)
    {
        ChildProcess peer("/bin/sh", {"-c", "exec nc -z -w 1 -s " + from + " 127.0.0.1 " + std::to_string(port)});
        return peer.waitForExit() == 0;
    }
    enum class Outcome
    {
        Refused, ///< the packet has passed: nobody listens
        Dropped
    };
    /// What becomes of the first packet of a connection to the controllers' port, where nobody listens in this test.
    static Outcome knock(const char* from, std::chrono::milliseconds patience)
    {
        const com::tallowcrest::util::UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        const auto own = testsupport::socketAddress(from, 0);
        EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
        const auto port = testsupport::socketAddress("127.0.0.1", koraPort);
        EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&port), sizeof port), -1);
        if (errno == ECONNREFUSED)
        {
            return Outcome::Refused;
        }
        pollfd wait{socket.get(), POLLOUT, 0};
        return ::poll(&wait, 1, static_cast<int>(patience.count())) == 1 ? Outcome::Refused : Outcome::Dropped;
    }
    /// The rules, with networks of the loopback interface in place of the plant's.
    static void load()
    {
        ChildProcess loading("/bin/sh",
                             {"-c", std::string("sed -e 's#10.20.1.0/24#127.1.0.0/16#; s#10.20.9.0/28#127.9.0.0/16#; "
                                                "s#iif \"lo\" accept##' ") +
                                        rulesFile + " | nft -f -"});
        ASSERT_EQ(loading.waitForExit(), 0) << loading.errors();
    }
};

TEST_F(FirewallTest, ShippedRulesAreValid)
{
    EXPECT_EQ(nft({"--check", "--file", rulesFile}), 0);
}

TEST_F(FirewallTest, EachPortIsOpenToItsNetworkOnly)
{
    startJoined();
    ASSERT_TRUE(canConnect("127.5.0.1", koraPort)); // without rules anybody may

    load();

    EXPECT_TRUE(canConnect("127.1.0.1", koraPort));
    EXPECT_TRUE(canConnect("127.9.0.1", telnetPort));
    EXPECT_FALSE(canConnect("127.9.0.1", koraPort));
    EXPECT_FALSE(canConnect("127.1.0.1", telnetPort));
    EXPECT_FALSE(canConnect("127.5.0.1", koraPort));
    EXPECT_FALSE(canConnect("127.5.0.1", telnetPort));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(FirewallTest, AddressThatOpensTooManyConnectionsKeepsNoOtherOut)
{
    load();

    int attempts = 1;
    while (knock("127.1.0.1", std::chrono::milliseconds(20)) == Outcome::Refused && attempts < 2000)
    {
        ++attempts;
    }

    EXPECT_EQ(knock("127.1.0.2", std::chrono::milliseconds(500)), Outcome::Refused);
    EXPECT_GT(attempts, 20) << "less than what the rules permit";
    EXPECT_LT(attempts, 2000) << "nothing limits it";
}

TEST_F(FirewallTest, LoadingTwiceReplacesTheRules)
{
    EXPECT_EQ(nft({"--file", rulesFile}), 0);
    EXPECT_EQ(nft({"--file", rulesFile}), 0);

    ChildProcess list("/usr/sbin/nft", {"list", "table", "inet", "korabridge"});
    EXPECT_EQ(list.waitForExit(), 0);
    const std::string text = list.output();
    ASSERT_NE(text.find("saddr != @controllers"), std::string::npos) << text;
    EXPECT_EQ(text.find("saddr != @controllers"), text.rfind("saddr != @controllers")) << text;
}

} // namespace
} // namespace e2e
