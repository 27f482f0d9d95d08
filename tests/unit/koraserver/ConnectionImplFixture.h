#pragma once

#include "koraserver/ConnectionImpl.h"
#include "koraserver/ControllerSocket.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/koraserver/FakeCmdHandler.h"
#include "tests/unit/koraserver/KoraBytes.h"

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>

/// A connection on a real socket pair of the loopback interface; the handler is a fake.
class ConnectionImplFixture : public testing::Test
{
protected:
    static constexpr std::uint32_t answerLength = 20;

    ConnectionImplFixture()
    {
        const auto listening = std::get<com::tallowcrest::util::UniqueFd>(openControllerPort(nullptr));
        m_client.emplace(*testsupport::TcpSocket::connect(serverPort));
        sockaddr_in address{};
        socklen_t size = sizeof address;
        m_socket = ::accept(listening.get(), reinterpret_cast<sockaddr*>(&address), &size);
        EXPECT_EQ(applySocketOptions(m_socket, acceptedOptions), std::nullopt);
        m_clientPort = ntohs(address.sin_port);
        m_sut = std::make_unique<ConnectionImpl>(m_log.logger(), m_socket, m_clientPort, 7, address.sin_addr.s_addr,
                                                 std::make_unique<FakeCmdHandler>(m_commands), m_samples,
                                                 m_browserWarnings);
    }

    /// As the names of its thread end: port and descriptor of the client.
    std::string clientName() const { return std::to_string(m_clientPort) + "-" + std::to_string(m_socket); }

    std::string receiveAnswer() { return m_client->receive(answerLength); }
    static std::unique_ptr<Rsp> longestAnswer(std::span<const std::uint8_t> message)
    {
        return std::make_unique<FakeRsp>(message, 8192);
    }
    bool ends() const
    {
        return testsupport::waitUntil([this] { return !m_sut->isRunning(); });
    }

    /// Starts the connection and has long answers wait at its socket for a client that does not read; returns how many
    /// were given.
    std::size_t leaveAnswersUnsent()
    {
        m_commands.answer = longestAnswer;
        m_sut->start();
        std::size_t answers = 0;
        int unsent = 0;
        // One or two may only not have left yet; more than that wait for the client.
        constexpr int onTheirWay = 4 * 8192;
        while (answers < 1000 && unsent < onTheirWay)
        {
            m_client->send(korabytes::request(1));
            ++answers;
            EXPECT_TRUE(testsupport::waitUntil([&] { return m_commands.requests().size() == answers; }));
            EXPECT_EQ(::ioctl(m_socket, SIOCOUTQNSD, &unsent), 0);
        }
        EXPECT_GE(unsent, onTheirWay);
        return answers;
    }

    /// Sends requests with long answers and reads none, until the connection's thread is held up in its send and the
    /// buffers on the way to it are full as well.
    void floodWithoutReading()
    {
        using Clock = std::chrono::steady_clock;
        const std::string bytes = korabytes::request(1);
        const auto full = Clock::now() + testsupport::scaled(std::chrono::seconds(20));
        while (Clock::now() < full)
        {
            if (::send(m_client->fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
            {
                const std::size_t handled = m_commands.requests().size();
                if (errno == EAGAIN &&
                    !testsupport::waitUntil([this, handled] { return m_commands.requests().size() > handled; },
                                            std::chrono::milliseconds(300)))
                {
                    return;
                }
            }
        }
        FAIL() << "the connection went on receiving";
    }

    testsupport::LogRecorder m_log;
    FakeCommands m_commands;
    com::tallowcrest::misc::TimingSamples m_samples;
    std::shared_ptr<com::tallowcrest::util::LogLimit> m_browserWarnings =
        std::make_shared<com::tallowcrest::util::LogLimit>(1, std::chrono::minutes(1));
    std::optional<testsupport::TcpSocket> m_client;
    int m_socket = -1;
    std::uint16_t m_clientPort = 0;
    std::unique_ptr<ConnectionImpl> m_sut;
};
