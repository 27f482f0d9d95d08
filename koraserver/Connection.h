#pragma once

#include <cstdint>
#include <memory>

/// One accepted controller. Starts and stops on the server's thread; the accessors are thread-safe.
class Connection
{
public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    virtual void start() = 0;
    /// Ends the thread and joins it, whatever the peer does. Idempotent.
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
    virtual std::uint32_t connectionId() const = 0;
    virtual int socket() const = 0;
    /// IPv4 address in network byte order, as accepted.
    virtual std::uint32_t clientAddress() const = 0;
    virtual void showUnexpectedProtocols() = 0;
};

/// Makes and starts the connection of an accepted socket.
class ConnectionFactory
{
public:
    ConnectionFactory() = default;
    virtual ~ConnectionFactory() = default;
    ConnectionFactory(const ConnectionFactory&) = delete;
    ConnectionFactory& operator=(const ConnectionFactory&) = delete;

    /// Takes ownership of `socket`. `clientPort` in host order, `clientAddress` in network order.
    virtual std::shared_ptr<Connection> createConnection(int socket, std::uint16_t clientPort,
                                                         std::uint32_t connectionId, std::uint32_t clientAddress) = 0;
};
