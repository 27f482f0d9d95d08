#include "koraserver/ConnectionImpl.h"
#include "koraserver/ControllerSocket.h"
#include "koraserver/Server.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/koraserver/FakeCmdHandler.h"
#include "tests/unit/koraserver/FakeConnection.h"
#include "tests/unit/koraserver/KoraBytes.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <vector>

using korabytes::request;
using testsupport::TcpSocket;
using testsupport::waitForClosedPort;
using testsupport::waitForPort;
using testsupport::waitUntil;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace
{

/// The server with its real connections; only the commands are fake: answers are as long as can be.
class ServerStuckClientsTest : public testing::Test
{
protected:
    ServerStuckClientsTest()
    {
        m_commands.answer = [](std::span<const std::uint8_t> message) {
            return std::make_unique<FakeRsp>(message, 8192);
        };
        m_sut = std::make_unique<Server>(
            "KORABRIDGE",
            std::make_shared<ConnectionFactoryImpl>("KORABRIDGE", std::make_shared<FakeCmdHandlerFactory>(m_commands)),
            std::make_shared<FakeNewConnectionListener>(m_events));
        m_sut->start();
        m_sut->connectToRouter();
        EXPECT_TRUE(waitForPort(serverPort));
    }

    void connectClients(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            ASSERT_TRUE(waitForPort(serverPort));
            auto client = TcpSocket::connect(serverPort);
            ASSERT_TRUE(client.has_value());
            korabytes::useSmallBuffers(client->fd());
            m_clients.push_back(*std::move(client));
            ASSERT_TRUE(m_events.waitForCount(m_clients.size()));
        }
    }

    /// Sends on all clients and reads none, until no connection receives any more.
    void blockAll()
    {
        const std::string bytes = request(1);
        const auto step = [this, &bytes] {
            bool blocked = true;
            for (const auto& client : m_clients)
            {
                while (::send(client.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0)
                {
                    blocked = false;
                }
            }
            return blocked;
        };
        const auto end = Clock::now() + testsupport::scaled(40s);
        while (Clock::now() < end)
        {
            const std::size_t handled = m_commands.requests().size();
            if (step() && !waitUntil([this, handled] { return m_commands.requests().size() > handled; }, 300ms))
            {
                return;
            }
        }
        FAIL() << "the connections went on receiving";
    }

    testsupport::LogRecorder m_log;
    EventList m_events;
    FakeCommands m_commands;
    testsupport::StallMeter m_stalls;
    std::vector<TcpSocket> m_clients;
    std::unique_ptr<Server> m_sut;
};

} // namespace

TEST_F(ServerStuckClientsTest, SixteenClientsThatNeverReadDoNotHoldUpStop)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(Server::maxConnections));
    ASSERT_NO_FATAL_FAILURE(blockAll());

    EXPECT_LT(m_stalls.workedDuring([this] { m_sut->stop(); }), testsupport::scaled(1s));
}

TEST_F(ServerStuckClientsTest, SixteenClientsThatNeverReadDoNotHoldUpTheDisconnect)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(Server::maxConnections));
    ASSERT_NO_FATAL_FAILURE(blockAll());

    const auto took = m_stalls.workedDuring([this] {
        m_sut->disconnectFromRouter();
        m_sut->connectToRouter();
        EXPECT_TRUE(waitForPort(serverPort));
    });

    EXPECT_LT(took, testsupport::scaled(2s));
}

TEST_F(ServerStuckClientsTest, OneClientThatNeverReadsDoesNotHoldUpAnother)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(1));
    ASSERT_NO_FATAL_FAILURE(blockAll());

    ASSERT_NO_FATAL_FAILURE(connectClients(1));
    std::string answer;

    const auto took = m_stalls.workedDuring([&] {
        m_clients[1].send(request(77));
        answer = m_clients[1].receive(8192);
    });

    EXPECT_LT(took, testsupport::scaled(1s));
    ASSERT_EQ(answer.size(), 8192U);
    EXPECT_EQ(korabytes::wordAt(answer, wireLayout::rsp::tag), 77U);
}

TEST_F(ServerStuckClientsTest, SlotOfAClientThatVanishedWithAnswersUnreadIsFreedSoon)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(Server::maxConnections));
    ASSERT_NO_FATAL_FAILURE(blockAll());
    ASSERT_TRUE(waitForClosedPort(serverPort));

    const auto took = m_stalls.workedDuring([this] {
        m_clients[5].reset();
        EXPECT_TRUE(waitForPort(serverPort));
    });

    EXPECT_LT(took, testsupport::scaled(2500ms));
}

TEST_F(ServerStuckClientsTest, EachConnectionHasItsSlotAsItsId)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(3));

    ASSERT_TRUE(waitUntil([this] {
        const std::lock_guard lock(m_commands.mutex);
        return m_commands.connectionIds.size() == 3;
    }));
    const std::lock_guard lock(m_commands.mutex);
    EXPECT_EQ(m_commands.connectionIds, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST_F(ServerStuckClientsTest, ConnectionTableShowsTheUnexpectedProtocolsOfEachClient)
{
    ASSERT_NO_FATAL_FAILURE(connectClients(1));
    m_clients[0].send(korabytes::message(14, 1, 0x50));
    ASSERT_TRUE(m_log.waitForHolding("Unexpected Protocol: nptZT4100ProtocolType 0xe"));

    testing::internal::CaptureStdout();
    m_sut->requestShowConnections();
    connectClients(2); // the first may come in the pass that was under way, the second only after the table
    const std::string table = testing::internal::GetCapturedStdout();

    EXPECT_TRUE(table.starts_with("clientFd         Ip Addr\n-------- ---------------\n")) << table;
    EXPECT_NE(table.find(" 127.000.000.001\n               ----- Unexpected Protocols -----\n"
                         "               0x0e nptZT4100ProtocolType\n"),
              std::string::npos)
        << table;
}
