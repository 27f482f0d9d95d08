#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/Operator.h"
#include "tests/support/TempDir.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <sstream>

using namespace e2e;
using testsupport::waitUntil;
using namespace std::chrono_literals;

namespace
{

/// Peers that go away without a word.
class PeersGoneTest : public BridgeFixture
{
protected:
    /// How long the bridge's end of the one connection to `port` stays idle from now on before it is probed; nothing
    /// when that end is not probed. From the kernel's table of connections.
    static std::optional<std::chrono::seconds> timeToProbe(std::uint16_t port)
    {
        constexpr unsigned established = 1;
        constexpr unsigned keepAliveTimer = 2;
        std::istringstream table(testsupport::readFile("/proc/net/tcp"));
        for (std::string line; std::getline(table, line);)
        {
            unsigned localPort = 0;
            unsigned state = 0;
            unsigned timer = 0;
            unsigned long ticks = 0;
            if (std::sscanf(line.c_str(), " %*d: %*8x:%4x %*8x:%*4x %2x %*8x:%*8x %2x:%8lx", &localPort, &state, &timer,
                            &ticks) == 4 &&
                localPort == port && state == established && timer == keepAliveTimer)
            {
                return std::chrono::seconds(ticks / static_cast<unsigned long>(::sysconf(_SC_CLK_TCK)));
            }
        }
        return std::nullopt;
    }
    /// The same once all that was sent is confirmed, which has a timer of its own.
    static std::chrono::seconds probedAfter(std::uint16_t port)
    {
        std::optional<std::chrono::seconds> time;
        EXPECT_TRUE(waitUntil([&] { return (time = timeToProbe(port)).has_value(); }));
        return time.value_or(0s);
    }
};

} // namespace

TEST_F(PeersGoneTest, IdleControllerIsProbedAfterFiveMinutesAndIdleOperatorAfterOne)
{
    startJoined();
    auto controller = connectController();
    controller.portPresent();
    const testsupport::Operator idle;

    const auto controllerTime = probedAfter(koraPort);
    const auto operatorTime = probedAfter(telnetPort);

    EXPECT_LE(controllerTime, 300s);
    EXPECT_GT(controllerTime, 240s);
    EXPECT_LE(operatorTime, 60s);
    EXPECT_GT(operatorTime, 30s);
}

TEST_F(PeersGoneTest, ReaderOfStandardOutputThatGoesTakesNothingWithIt)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    testsupport::ChildProcess::Options options;
    options.output = ends[1];
    m_bridge = std::make_unique<testsupport::ChildProcess>(
        testsupport::programPath("korabridge"), std::vector<std::string>{"17", "3", "Bridge One", "piped"}, options);
    ::close(ends[1]);
    router().announce();
    ASSERT_TRUE(testsupport::waitForPort(koraPort, 30s));

    ::close(ends[0]);

    // An operator who comes is announced on standard output, and so is all that is logged.
    const testsupport::Operator newcomer;
    auto controller = connectController();
    EXPECT_TRUE(waitUntil([&] { return controller.take({{videoLevel, 0, 5, 7}}) == std::vector<std::uint32_t>{0}; }));
    EXPECT_TRUE(waitForInput(controller, videoLevel, 7, 5));
    EXPECT_EQ(stopBridge(), 0);
}
