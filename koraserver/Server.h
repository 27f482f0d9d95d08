#pragma once

#include "koraserver/Connection.h"
#include "koraserver/NotifyNewConnection.h"
#include "runtime/apartment/Task.h"

#include <memory>
#include <string>

/// The TCP listener for controllers (port 5194, 16 slots) on a thread of its own. Accepts only while connected to the
/// router and while a slot is free. `start` and `stop` belong to the Director; the rest is thread-safe.
class Server : public com::tallowcrest::apartment::Task
{
public:
    Server(const std::string& loggerName, std::shared_ptr<ConnectionFactory> connectionFactory,
           std::shared_ptr<NotifyNewConnection> newConnectionListener);
    ~Server() override;

    void start() override;
    void stop() override;
    bool isRunning() const override;

    /// The bridge has joined a router: accept controllers from now on.
    virtual void connectToRouter();
    /// The router is gone: drop every controller and close the port within about a second.
    virtual void disconnectFromRouter();

    /// Prints the statistics block to the console.
    void showServerStats() const;
    /// Asks the server's thread to print the connection table at its next pass.
    void requestShowConnections();
};
