#pragma once

#include "koraserver/ControllerSocket.h"
#include "koraserver/Server.h"
#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TcpSocket.h"
#include "tests/unit/koraserver/FakeConnection.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// A server whose connections are fakes.
class ServerFixture : public testing::Test
{
protected:
    ServerFixture() : m_factory(std::make_shared<FakeConnectionFactory>(m_events))
    {
        m_sut =
            std::make_unique<Server>("KORABRIDGE", m_factory, std::make_shared<FakeNewConnectionListener>(m_events));
    }

    void startConnected()
    {
        m_sut->start();
        m_sut->connectToRouter();
        ASSERT_TRUE(testsupport::waitForPort(serverPort));
    }

    /// Connects a controller and waits until the server has made its connection.
    void connectClient()
    {
        const std::size_t events = m_events.all().size();
        auto client = testsupport::TcpSocket::connect(serverPort);
        ASSERT_TRUE(client.has_value());
        m_clients.push_back(*std::move(client));
        ASSERT_TRUE(m_events.waitForCount(events + 2));
    }

    void fillAllSlots()
    {
        for (std::size_t i = 0; i < Server::maxConnections; ++i)
        {
            ASSERT_NO_FATAL_FAILURE(connectClient());
        }
    }

    std::string stats() const
    {
        testing::internal::CaptureStdout();
        m_sut->showServerStats();
        return testing::internal::GetCapturedStdout();
    }

    /// Starts the server as `startConnected`, on threads that cannot make the calls. False where that is not permitted.
    [[nodiscard]] bool startConnectedWithout(const std::vector<testsupport::FailingCall>& calls)
    {
        return testsupport::withFailingCalls(calls, [this] { m_sut->start(); }) && (m_sut->connectToRouter(), true);
    }

    testsupport::LogRecorder m_log;
    EventList m_events;
    std::shared_ptr<FakeConnectionFactory> m_factory;
    std::vector<testsupport::TcpSocket> m_clients;
    std::unique_ptr<Server> m_sut;
};
