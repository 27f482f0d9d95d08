#pragma once

#include "koraserver/Connection.h"
#include "koraserver/ControllerSocket.h"
#include "koraserver/PeerWatch.h"
#include "runtime/apartment/Task.h"
#include "runtime/util/FailureLog.h"
#include "runtime/util/UniqueFd.h"
#include "runtime/util/WakeEvent.h"

#include <log4cxx/logger.h>
#include <netinet/in.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// The TCP listener for controllers (port 5194, 16 slots) on a thread of its own, "Kora Server". Listens only while
/// connected to the router and while a slot is free; otherwise the operating system refuses controllers. The port is
/// held from the start to destruction, so that nobody else listens there meanwhile. A controller
/// that has vanished loses its slot half a minute after it was first asked for a sign of life in vain; it is asked
/// after five minutes of silence, or after half a minute while every slot is taken.
///
/// `start` and `stop` belong to the Director, the slots and the socket to the server's thread; the rest is thread-safe.
/// No failure ends the thread: each is logged and tried again at the next pass, at most a second later.
class Server : public com::tallowcrest::apartment::Task
{
public:
    /// Controllers at a time; each slot is a bit in the change masks of the levels.
    static constexpr std::size_t maxConnections = 16;

    Server(const std::string& loggerName, std::shared_ptr<ConnectionFactory> connectionFactory,
           std::shared_ptr<NotifyNewConnection> newConnectionListener);
    /// Stops the thread.
    ~Server() override;

    /// Starts the thread; nothing when it runs already. Throws std::system_error when no thread is to be had.
    void start() override;
    /// Closes the port, drops every controller and joins the thread, whatever the controllers do. Idempotent.
    void stop() override;
    bool isRunning() const override { return m_running; }

    /// The bridge has joined a router: accept controllers from now on.
    virtual void connectToRouter();
    /// The router is gone: drop every controller and close the port at the next pass.
    virtual void disconnectFromRouter();
    /// Nobody else can listen there.
    bool isHoldingPort() const { return m_isHoldingPort; }
    bool isConnectedToRouter() const { return m_connectedToRouter; }

    /// Prints the statistics block to the console.
    void showServerStats() const;
    /// Asks the server's thread to print the connection table, and behind it each connection's commands, at its next
    /// pass.
    void requestShowConnections();

private:
    /// How long a pass waits at most.
    static constexpr std::chrono::seconds passWait{1};

    void run();
    void runPass();
    void showConnections() const;

    bool holdPort();
    bool openServerSocketIfClosed();
    void closeServerSocket();
    void checkForClient();
    void acceptFailed(int error);
    void addClient(com::tallowcrest::util::UniqueFd socket, const sockaddr_in& client);
    bool setSocketOptions(int socket);
    void rejectClient(com::tallowcrest::util::UniqueFd client);

    void removeAnyDeadClients();
    void removeAllClients();
    void watchPeers();
    void setProbes();
    std::optional<std::uint32_t> findFreeSlot() const;
    bool hasFreeSlot() const { return findFreeSlot().has_value(); }

    /// Waits a second, or less when there is something to do.
    void pause();

    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<ConnectionFactory> m_connectionFactory;
    std::shared_ptr<NotifyNewConnection> m_newConnectionListener;
    com::tallowcrest::util::WakeEvent m_wakeEvent;
    ControllerPort m_port;
    bool m_listenSocketStale = false; ///< open, but it accepts nothing any more: to be opened anew
    std::vector<std::shared_ptr<Connection>> m_slots{maxConnections};
    std::vector<PeerWatch> m_watches{maxConnections}; ///< of the slots
    PeerWatch::Clock::time_point m_nextWatch{};
    SlotPressure m_pressure;
    bool m_isPressureHigh = false;
    std::atomic<bool> m_showConnectionsRequested{false};
    std::atomic<std::uint32_t> m_reopenCount{0};
    std::atomic<std::uint32_t> m_acceptedCount{0};
    std::atomic<std::uint32_t> m_openErrorCount{0};      ///< shown, counted by nothing
    std::atomic<std::uint32_t> m_setOptionErrorCount{0}; ///< shown, counted by nothing
    std::atomic<bool> m_isHoldingPort{false};
    std::atomic<bool> m_connectedToRouter{false};
    std::atomic<bool> m_dropRequested{false}; ///< set with every disconnect, so that a quick re-connect hides none
    com::tallowcrest::util::FailureLog m_openFailures;
    com::tallowcrest::util::FailureLog m_acceptFailures;
    com::tallowcrest::util::FailureLog m_connectionFailures;
    std::thread m_thread;
};
