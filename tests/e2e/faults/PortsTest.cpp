#include "tests/e2e/faults/FaultFixture.h"
#include "tests/support/Operator.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;

/// Another program that listens on a port.
class PortHolder
{
public:
    explicit PortHolder(std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int on = 1; // connections of earlier programs that linger do not matter
        static_cast<void>(::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        m_isListening = ::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                        ::listen(m_socket, 4) == 0;
    }
    ~PortHolder() { release(); }
    PortHolder(const PortHolder&) = delete;
    PortHolder& operator=(const PortHolder&) = delete;

    bool isListening() const { return m_isListening; }
    void release()
    {
        if (m_socket >= 0)
        {
            ::close(m_socket);
            m_socket = -1;
        }
    }

private:
    int m_socket;
    bool m_isListening = false;
};

class PortsTest : public FaultFixture
{
protected:
    static constexpr const char* takenText = "failed binding socket";
};

TEST_F(PortsTest, ControllerPortTakenIsReportedOnceAndServedWhenFreed)
{
    PortHolder other(koraPort);
    ASSERT_TRUE(other.isListening());
    startBridge();
    router().announce();
    ASSERT_TRUE(bridge().waitForOutput(takenText, 30s));

    EXPECT_LT(processorShare(4s), 0.2);
    EXPECT_EQ(countOf(bridge().output(), takenText), 1U);
    EXPECT_NE(bridge().output().find("to address/port 0.0.0.0, Address already in use"), std::string::npos);

    other.release();
    waitForJoin();
    auto controller = connectController();
    EXPECT_TRUE(takesReachTheRouter(controller, 5));
    EXPECT_TRUE(bridge().waitForOutput("times: failed binding socket"));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(PortsTest, ConsolePortTakenIsReportedOnceAndServedWhenFreed)
{
    PortHolder other(telnetPort);
    ASSERT_TRUE(other.isListening());
    startJoined();

    EXPECT_LT(processorShare(4s), 0.2);
    EXPECT_EQ(countOf(bridge().output(), takenText), 1U);
    EXPECT_EQ(countOf(bridge().output(), "openServerSocket() failed"), 1U);
    auto controller = connectController();
    EXPECT_TRUE(takesReachTheRouter(controller, 5));

    other.release();
    ASSERT_TRUE(bridge().waitForOutput("Port: 8882"));
    const testsupport::Operator newcomer;
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(PortsTest, StopWhileBothPortsAreTakenIsClean)
{
    const PortHolder controllers(koraPort);
    const PortHolder console(telnetPort);
    ASSERT_TRUE(controllers.isListening() && console.isListening());
    startBridge();
    router().announce();
    ASSERT_TRUE(testsupport::waitUntil([&] { return countOf(bridge().output(), takenText) == 2; }, 30s));

    EXPECT_EQ(stopBridge(), 0);
}

} // namespace
} // namespace e2e
