#include "runtime/util/UniqueFd.h"
#include "tests/e2e/hostile/HostileFixture.h"
#include "tests/support/SocketAddress.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>

using namespace e2e;

namespace
{

using com::tallowcrest::util::UniqueFd;
using testsupport::ChildProcess;
using testsupport::waitUntil;
using namespace std::chrono_literals;

/// Controllers at an address of their own, whose cable can be cut.
class PeersVanishTest : public HostileFixture
{
protected:
    static constexpr const char* plantAddress = "127.0.0.2";
    static constexpr std::size_t slots = 16;

    void SetUp() override
    {
        if (std::getenv("KORABRIDGE_IN_NAMESPACE") == nullptr || !nft("list tables"))
        {
            GTEST_SKIP() << "needs a network namespace of its own and nftables";
        }
        ASSERT_NO_FATAL_FAILURE(startJoined());
    }

    static bool nft(const std::string& command)
    {
        ChildProcess program("/bin/sh", {"-c", "exec /usr/sbin/nft '" + command + "'"});
        return program.waitForExit() == 0;
    }
    static void cutFromBridge()
    {
        ASSERT_TRUE(nft("add table ip cable"));
        ASSERT_TRUE(nft("add chain ip cable fromBridge { type filter hook output priority 0; }"));
        ASSERT_TRUE(nft(std::string("add rule ip cable fromBridge ip daddr ") + plantAddress + " drop"));
    }
    static void cutToBridge()
    {
        ASSERT_TRUE(nft("add chain ip cable toBridge { type filter hook input priority 0; }"));
        ASSERT_TRUE(nft(std::string("add rule ip cable toBridge ip saddr ") + plantAddress + " drop"));
    }

    static UniqueFd connectFrom(const char* own)
    {
        UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in here = testsupport::socketAddress(own, 0);
        const sockaddr_in bridge = testsupport::socketAddress("127.0.0.1", koraPort);
        EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&here), sizeof here), 0);
        EXPECT_TRUE(testsupport::waitForPort(koraPort));
        EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&bridge), sizeof bridge), 0);
        return socket;
    }

    std::size_t countOf(const std::string& text)
    {
        const std::string output = bridge().output();
        std::size_t count = 0;
        for (auto at = output.find(text); at != std::string::npos; at = output.find(text, at + 1))
        {
            ++count;
        }
        return count;
    }
};

} // namespace

TEST_F(PeersVanishTest, SlotsOfThoseWhoLostPowerAreFreeWithinAMinuteAndTheSilentOneWhoIsThereKeepsItsOwn)
{
    auto silent = connectController();
    std::vector<UniqueFd> gone;
    while (gone.size() + 1 < slots)
    {
        gone.push_back(connectFrom(plantAddress));
        ASSERT_TRUE(waitUntil([&] { return countOf("connectionId ") == gone.size() + 1; }));
    }
    ASSERT_TRUE(testsupport::waitForClosedPort(koraPort));

    // One of them has an answer on its way.
    ASSERT_NO_FATAL_FAILURE(cutFromBridge());
    const std::string question = portPresentRequest(1);
    ASSERT_EQ(::send(gone.front().get(), question.data(), question.size(), 0), static_cast<ssize_t>(question.size()));
    ASSERT_NO_FATAL_FAILURE(cutToBridge());

    EXPECT_TRUE(waitUntil([&] { return countOf("removed dead tcp connection") == gone.size(); }, 59s));
    EXPECT_EQ(countOf("has confirmed nothing for 30 s"), 1U);
    EXPECT_EQ(countOf("Connection timed out"), gone.size() - 1);
    EXPECT_EQ(connectController().portPresent(), 0U) << "a newcomer is served";
    EXPECT_EQ(silent.portPresent(), 0U);
}
