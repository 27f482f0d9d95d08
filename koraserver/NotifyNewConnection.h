#pragma once

#include <cstdint>

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
