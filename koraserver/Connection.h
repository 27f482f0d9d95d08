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

    /// Starts the connection's thread. Throws std::system_error when none is to be had.
    virtual void start() = 0;
    /// Tells the thread to end and shuts the socket down, so that neither a receive nor a send holds it up; does not
    /// wait. Idempotent.
    virtual void requestStop() = 0;
    /// Ends the thread and joins it, whatever the peer does. Idempotent.
    virtual void stop() = 0;
    /// False once the thread has ended or is about to.
    virtual bool isRunning() const = 0;
    virtual std::uint32_t connectionId() const = 0;
    virtual int socket() const = 0;
    /// IPv4 address in network byte order, as accepted.
    virtual std::uint32_t clientAddress() const = 0;
    /// Prints the table of unexpected protocols to the console.
    virtual void showUnexpectedProtocols() = 0;
    /// Prints the commands that came, unhandled and processed, with their counts to the console.
    virtual void showCommands() = 0;
};

/// Makes and starts the connection of an accepted socket.
class ConnectionFactory
{
public:
    ConnectionFactory() = default;
    virtual ~ConnectionFactory() = default;
    ConnectionFactory(const ConnectionFactory&) = delete;
    ConnectionFactory& operator=(const ConnectionFactory&) = delete;

    /// A started connection, which owns `socket` from then on. When it throws (no thread, no memory) the socket is
    /// still the caller's and open. `clientPort` in host order, `clientAddress` in network order.
    virtual std::shared_ptr<Connection> createConnection(int socket, std::uint16_t clientPort,
                                                         std::uint32_t connectionId, std::uint32_t clientAddress) = 0;
};

/// Told of every accepted controller before its connection starts. Called on the server's thread.
class NotifyNewConnection
{
public:
    NotifyNewConnection() = default;
    virtual ~NotifyNewConnection() = default;
    NotifyNewConnection(const NotifyNewConnection&) = delete;
    NotifyNewConnection& operator=(const NotifyNewConnection&) = delete;

    /// `connection` is the connection's slot, 0 to 15.
    virtual void notifyNewConnection(std::uint32_t connection) = 0;
};
