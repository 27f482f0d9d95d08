#include "koraclient/Errors.h"
#include "koraclient/RequestEncoder.h"
#include "tests/e2e/support/BridgeFixture.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

using namespace e2e;
using koraclient::RequestEncoder;
using testsupport::asText;
using testsupport::isListening;
using testsupport::TcpSocket;
using testsupport::waitForClosedPort;
using testsupport::waitForPort;
using testsupport::waitUntil;

namespace
{

constexpr std::size_t slots = 16;

class ConnectionsTest : public BridgeFixture
{
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(startJoined()); }

    static void fillSlots(std::vector<koraclient::KoraClient>& clients, std::size_t count = slots)
    {
        while (clients.size() < count)
        {
            clients.push_back(connectController());
            clients.back().portPresent(); // answered: it holds a slot
        }
    }

    static std::string word(std::uint32_t value)
    {
        return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
                static_cast<char>(value)};
    }

    static std::string header(std::uint32_t type, std::uint32_t tag, std::uint32_t length, std::uint32_t id)
    {
        return word(type) + word(tag) + word(length) + word(id);
    }

    static std::string portPresentRequest(std::uint32_t tag) { return asText(RequestEncoder(tag).portPresent()); }
    static std::string portPresentResponse(std::uint32_t sequence, std::uint32_t tag)
    {
        return header(12, sequence, 24, 0x80004000) + word(tag) + word(0);
    }
};

} // namespace

TEST_F(ConnectionsTest, SixteenControllersFillTheTableAndTheSeventeenthIsRefused)
{
    std::vector<koraclient::KoraClient> clients;
    fillSlots(clients);
    ASSERT_TRUE(waitForClosedPort(koraPort));

    EXPECT_FALSE(TcpSocket::connect(koraPort));
    for (auto& client : clients)
    {
        EXPECT_EQ(client.portPresent(), 0U);
    }

    clients.erase(clients.begin() + 3);
    ASSERT_TRUE(waitForPort(koraPort));
    clients.push_back(connectController());
    EXPECT_EQ(clients.back().portPresent(), 0U);
    EXPECT_TRUE(bridge().waitForOutput("connectionId 3"));
}

TEST_F(ConnectionsTest, FreedSlotIsTheNextControllersAndStartsWithEverythingChanged)
{
    std::vector<koraclient::KoraClient> clients;
    fillSlots(clients, 3);
    drainChanges(clients[0], videoLevel);
    clients.erase(clients.begin()); // connection 0 leaves
    ASSERT_TRUE(bridge().waitForOutput("removed dead tcp connection, fd = "));

    auto next = connectController();

    EXPECT_EQ(drainChanges(next, videoLevel).size(), 288U);
}

TEST_F(ConnectionsTest, TwoRequestsInOneSegmentAreBothAnsweredInOrder)
{
    auto socket = TcpSocket::connect(koraPort);
    ASSERT_TRUE(socket);

    socket->send(portPresentRequest(0x11223344) + portPresentRequest(0x55667788));

    EXPECT_EQ(socket->receive(48), portPresentResponse(0, 0x11223344) + portPresentResponse(1, 0x55667788));
}

TEST_F(ConnectionsTest, RequestSentByteByByteIsAnsweredOnce)
{
    auto socket = TcpSocket::connect(koraPort);
    ASSERT_TRUE(socket);

    for (const char byte : portPresentRequest(7))
    {
        socket->send(std::string(1, byte));
    }

    EXPECT_EQ(socket->receive(24), portPresentResponse(0, 7));
    EXPECT_EQ(socket->receive(1, std::chrono::milliseconds(100)), "");
}

TEST_F(ConnectionsTest, OversizedLengthDiscardsWhatIsHeldAndTheNextMessageIsServed)
{
    auto socket = TcpSocket::connect(koraPort);
    ASSERT_TRUE(socket);
    socket->send(portPresentRequest(1));
    ASSERT_EQ(socket->receive(24), portPresentResponse(0, 1));

    socket->send(header(12, 2, 8193, 0x4000));
    // The discarded header must have been looked at before the next message follows.
    ASSERT_EQ(socket->receive(1, std::chrono::milliseconds(200)), "");
    socket->send(portPresentRequest(3));

    EXPECT_EQ(socket->receive(24), portPresentResponse(1, 3));
}

TEST_F(ConnectionsTest, OtherProtocolTypesAreCountedAndNotAnswered)
{
    auto socket = TcpSocket::connect(koraPort);
    ASSERT_TRUE(socket);

    socket->send(header(21, 1, 16, 0x50) + header(77, 1, 16, 0x50) + portPresentRequest(5));

    EXPECT_EQ(socket->receive(24), portPresentResponse(0, 5));
    EXPECT_TRUE(bridge().waitForOutput("Unexpected Protocol: nptSCPProtocol 0x15"));
    EXPECT_TRUE(bridge().waitForOutput("Unexpected Protocol: Unknown Protocol 0x4d"));
}

TEST_F(ConnectionsTest, ControllerThatStallsInAHeaderHoldsUpNobody)
{
    auto stalled = TcpSocket::connect(koraPort);
    ASSERT_TRUE(stalled);
    stalled->send(portPresentRequest(1).substr(0, 7));

    auto client = connectController();
    EXPECT_EQ(client.take({{videoLevel, 0, 1, 1}}), std::vector<std::uint32_t>{0});

    stalled->send(portPresentRequest(1).substr(7));
    EXPECT_EQ(stalled->receive(24), portPresentResponse(0, 1));
}

TEST_F(ConnectionsTest, ControllerThatNeverReadsHoldsUpNeitherOthersNorTheStop)
{
    auto deaf = TcpSocket::connect(koraPort);
    ASSERT_TRUE(deaf);
    // Requests for long answers until the bridge stops taking more: its send to this peer is stuck then.
    const std::string request = asText(RequestEncoder(1).outputStatus(0, audioLevel, 1, 500));
    std::size_t sent = 0;
    pollfd room{.fd = deaf->fd(), .events = POLLOUT, .revents = 0};
    while (::poll(&room, 1, 500) > 0)
    {
        const auto count = ::send(deaf->fd(), request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        ASSERT_TRUE(count > 0 || errno == EAGAIN);
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    ASSERT_GT(sent, request.size());

    auto client = connectController();
    EXPECT_EQ(client.take({{videoLevel, 0, 1, 1}}), std::vector<std::uint32_t>{0});
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(ConnectionsTest, ControllerThatResetsInTheMiddleOfAnAnswerEndsOnlyItself)
{
    for (int i = 0; i < 20; ++i)
    {
        ASSERT_TRUE(waitForPort(koraPort)); // closed for a moment while sixteen of them are not yet found dead
        auto socket = TcpSocket::connect(koraPort);
        ASSERT_TRUE(socket);
        socket->send(asText(RequestEncoder(1).outputChanges(0, audioLevel)) + portPresentRequest(2) +
                     portPresentRequest(3));
        socket->reset();
    }

    auto client = connectController();
    EXPECT_EQ(client.portPresent(), 0U);
    EXPECT_TRUE(bridge().isRunning());
}
