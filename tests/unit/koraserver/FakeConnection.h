#pragma once

#include "koraserver/Connection.h"
#include "runtime/misc/Console.h"
#include "runtime/util/UniqueFd.h"
#include "tests/support/WaitUntil.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

/// What the server did with its collaborators, in order, e.g. "notify 0", "create 0", "release 0". Thread-safe.
class EventList
{
public:
    void add(const std::string& event)
    {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(event);
    }
    std::vector<std::string> all() const
    {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }
    bool waitForCount(std::size_t count) const
    {
        return testsupport::waitUntil([this, count] { return all().size() >= count; });
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_events;
};

/// A connection without a thread; the test says when it has died.
class FakeConnection final : public Connection
{
public:
    FakeConnection(EventList& events, int socket, std::uint32_t id, std::uint32_t address,
                   const std::atomic<bool>& showFails)
        : m_events(events), m_socket(socket), m_id(id), m_address(address), m_showFails(showFails)
    {}
    ~FakeConnection() override { m_events.add("release " + std::to_string(m_id)); }

    void die() { m_running = false; }

    // Connection
    void start() override {}
    void requestStop() override { m_events.add("requestStop " + std::to_string(m_id)); }
    void stop() override {}
    bool isRunning() const override { return m_running; }
    std::uint32_t connectionId() const override { return m_id; }
    int socket() const override { return m_socket.get(); }
    std::uint32_t clientAddress() const override { return m_address; }
    void showUnexpectedProtocols() override
    {
        m_events.add("show " + std::to_string(m_id));
        if (m_showFails)
        {
            throw std::runtime_error("no console");
        }
    }
    void showCommands() override { com::tallowcrest::misc::print("commands of %u\n", m_id); }

private:
    EventList& m_events;
    const com::tallowcrest::util::UniqueFd m_socket;
    const std::uint32_t m_id;
    const std::uint32_t m_address;
    const std::atomic<bool>& m_showFails;
    std::atomic<bool> m_running{true};
};

class FakeConnectionFactory final : public ConnectionFactory
{
public:
    explicit FakeConnectionFactory(EventList& events) : m_events(events) {}

    std::shared_ptr<Connection> createConnection(int socket, std::uint16_t clientPort, std::uint32_t connectionId,
                                                 std::uint32_t clientAddress) override
    {
        if (failing)
        {
            throw std::runtime_error("no thread");
        }
        auto connection = std::make_shared<FakeConnection>(m_events, socket, connectionId, clientAddress, showFails);
        {
            const std::lock_guard lock(m_mutex);
            m_connections.push_back(connection);
            m_ports.push_back(clientPort);
        }
        m_events.add("create " + std::to_string(connectionId));
        return connection;
    }

    std::atomic<bool> failing{false};
    /// Makes the connections throw when they are to show themselves.
    std::atomic<bool> showFails{false};

    std::vector<std::uint16_t> ports() const
    {
        const std::lock_guard lock(m_mutex);
        return m_ports;
    }

    /// The socket of the living connection of a slot; -1 when there is none.
    int socketOf(std::uint32_t id) const
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& weak : m_connections)
        {
            const auto connection = weak.lock();
            if (connection != nullptr && connection->connectionId() == id)
            {
                return connection->socket();
            }
        }
        return -1;
    }

    /// Makes the living connection of a slot report that it no longer runs.
    void letDie(std::uint32_t id)
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& weak : m_connections)
        {
            const auto connection = weak.lock();
            if (connection != nullptr && connection->connectionId() == id)
            {
                connection->die();
            }
        }
    }

private:
    EventList& m_events;
    mutable std::mutex m_mutex;
    std::vector<std::weak_ptr<FakeConnection>> m_connections;
    std::vector<std::uint16_t> m_ports;
};

class FakeNewConnectionListener final : public NotifyNewConnection
{
public:
    explicit FakeNewConnectionListener(EventList& events) : m_events(events) {}

    void notifyNewConnection(std::uint32_t connection) override
    {
        m_events.add("notify " + std::to_string(connection));
    }

private:
    EventList& m_events;
};
