#include "koraserver/Server.h"

#include "koraserver/ControllerSocket.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/ThreadName.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <utility>

using com::tallowcrest::misc::print;
using com::tallowcrest::util::Counter;
using com::tallowcrest::util::dottedText;
using com::tallowcrest::util::formatText;
using com::tallowcrest::util::paddedText;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

namespace
{

Counter accepted("korabridge_controllers_accepted_total", "Controllers that got a slot.");
Counter rejected("korabridge_controllers_rejected_total", "Controllers that were accepted and closed at once.");

} // namespace

Server::Server(const std::string& loggerName, std::shared_ptr<ConnectionFactory> connectionFactory,
               std::shared_ptr<NotifyNewConnection> newConnectionListener)
    : Task("Kora Server"), m_logger(log4cxx::Logger::getLogger(loggerName)),
      m_connectionFactory(std::move(connectionFactory)), m_newConnectionListener(std::move(newConnectionListener)),
      m_port(m_logger), m_openFailures(m_logger), m_acceptFailures(m_logger), m_connectionFailures(m_logger)
{}

Server::~Server()
{
    Server::stop();
}

void Server::start()
{
    if (m_running)
    {
        return;
    }
    m_running = true;
    try
    {
        m_thread = std::thread(&Server::run, this);
    }
    catch (...)
    {
        m_running = false;
        throw;
    }
}

void Server::stop()
{
    m_running = false;
    m_wakeEvent.signal();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void Server::connectToRouter()
{
    m_connectedToRouter = true;
    LOG_INFO_F(m_logger, "connected to router\n");
    m_wakeEvent.signal();
}

void Server::disconnectFromRouter()
{
    m_connectedToRouter = false;
    m_dropRequested = true;
    LOG_INFO_F(m_logger, "not connected to router\n");
    m_wakeEvent.signal();
}

void Server::showServerStats() const
{
    print("--------------------------------- Server Stats ---------------------------------\n");
    print("Tcp Server Socket Reopen Cnt: %8d    Tcp Accepted Cnt:             %8d\n",
          static_cast<int>(m_reopenCount.load()), static_cast<int>(m_acceptedCount.load()));
    print("Tcp Server Open Error Cnt:    %8d    Set Socket Option Error Cnt:  %8d\n",
          static_cast<int>(m_openErrorCount.load()), static_cast<int>(m_setOptionErrorCount.load()));
}

void Server::requestShowConnections()
{
    m_showConnectionsRequested = true;
    m_wakeEvent.signal();
}

void Server::run()
{
    com::tallowcrest::util::nameThread("Kora Server");
    for (;;)
    {
        m_wakeEvent.clear(); // before any flag is read, so that no signal is lost
        if (!m_running)
        {
            break;
        }
        try
        {
            runPass();
        }
        catch (const std::exception& error)
        {
            REPORT_ERROR_F(m_logger, "Kora Server pass ended by an exception: %s", error.what());
            pause();
        }
    }
    closeServerSocket();
    removeAllClients();
}

void Server::runPass()
{
    if (m_showConnectionsRequested.exchange(false))
    {
        showConnections();
    }
    if (m_dropRequested.exchange(false) || !m_connectedToRouter)
    {
        closeServerSocket();
        removeAllClients();
    }
    if (!m_connectedToRouter)
    {
        static_cast<void>(holdPort()); // logged; the next pass tries again
        pause();
        return;
    }
    removeAnyDeadClients();
    watchPeers();
    setProbes();
    if (!hasFreeSlot())
    {
        closeServerSocket();
        pause();
        return;
    }
    openServerSocketIfClosed();
    checkForClient();
}

void Server::showConnections() const
{
    print("clientFd         Ip Addr\n-------- ---------------\n");
    for (const auto& connection : m_slots)
    {
        if (connection != nullptr)
        {
            print("%8d %s\n", connection->socket(), paddedText(connection->clientAddress()).c_str());
            connection->showUnexpectedProtocols();
        }
    }
    // Behind the whole table, which scripts read as it has always been.
    for (const auto& connection : m_slots)
    {
        if (connection != nullptr)
        {
            print("\nCommands of clientFd %d\n", connection->socket());
            connection->showCommands();
        }
    }
}

bool Server::holdPort()
{
    const auto failure = m_port.hold();
    m_isHoldingPort = !failure;
    if (failure)
    {
        m_openFailures.warn(*failure);
    }
    return m_isHoldingPort;
}

bool Server::openServerSocketIfClosed()
{
    if (m_port.isListening() && !m_listenSocketStale)
    {
        return true;
    }
    if (m_port.isListening())
    {
        LOG_INFO_F(m_logger, "shutting down TCP server socket prior to re-opening");
        ++m_reopenCount;
        m_port.release();
        m_listenSocketStale = false;
    }
    if (!holdPort())
    {
        return false;
    }
    if (const auto failure = m_port.listen())
    {
        m_openFailures.warn(*failure);
        return false;
    }
    m_openFailures.succeeded();
    return true;
}

void Server::closeServerSocket()
{
    m_port.refuse();
    m_listenSocketStale = false;
}

void Server::checkForClient()
{
    if (!m_port.isListening())
    {
        pause();
        return;
    }
    // poll has no limit on descriptor numbers, unlike select.
    std::array<pollfd, 2> polled{{{m_port.fd(), POLLIN, 0}, {m_wakeEvent.fd(), POLLIN, 0}}};
    const int ready =
        ::poll(polled.data(), polled.size(), static_cast<int>(std::chrono::milliseconds(passWait).count()));
    if (ready < 0 && errno != EINTR)
    {
        const int error = errno;
        m_acceptFailures.warn({formatText("select %d", error),
                               formatText("select failed socket %u %s", static_cast<unsigned>(m_port.fd()),
                                          systemErrorText(error).c_str())});
        closeServerSocket();
        pause(); // the next one may fail at once, too
        return;
    }
    if (ready <= 0 || polled[0].revents == 0)
    {
        return;
    }

    sockaddr_in client{};
    socklen_t clientSize = sizeof client;
    UniqueFd socket(::accept4(m_port.fd(), reinterpret_cast<sockaddr*>(&client), &clientSize, SOCK_CLOEXEC));
    if (!socket.isOpen())
    {
        acceptFailed(errno);
        return;
    }
    m_acceptFailures.succeeded();
    ++m_acceptedCount;
    addClient(std::move(socket), client);
}

void Server::acceptFailed(int error)
{
    if (error == EINTR)
    {
        return;
    }
    m_acceptFailures.warn(
        {formatText("accept %d", error),
         formatText("listen failed socket %u to address/port %s, %s", static_cast<unsigned>(m_port.fd()),
                    dottedText(htonl(INADDR_ANY)).c_str(), systemErrorText(error).c_str())});
    if (error == EINVAL || error == EBADF || error == ENOTSOCK)
    {
        m_listenSocketStale = true; // it listens no more
    }
    if (error != ECONNABORTED)
    {
        pause(); // the client still waits, and would wake the next pass at once
    }
}

void Server::addClient(UniqueFd socket, const sockaddr_in& client)
{
    const std::uint32_t address = client.sin_addr.s_addr;
    LOG_INFO_F(m_logger, "accepted tcp connection from %s, fd = %d", dottedText(address).c_str(), socket.get());
    const auto slot = findFreeSlot();
    if (!slot)
    {
        LOG_WARN_F(m_logger, "Connection rejected from %s would exceed max connections: %d",
                   paddedText(address).c_str(), static_cast<int>(m_slots.size()));
        rejectClient(std::move(socket));
        return;
    }
    if (!setSocketOptions(socket.get()))
    {
        LOG_WARN_F(m_logger, "Connection rejected from %s failed setting socket options", paddedText(address).c_str());
        rejectClient(std::move(socket));
        return;
    }
    LOG_INFO_F(m_logger, "connectionId %d", static_cast<int>(*slot));
    try
    {
        m_watches[*slot] = {};
        m_newConnectionListener->notifyNewConnection(*slot);
        m_slots[*slot] = m_connectionFactory->createConnection(socket.get(), ntohs(client.sin_port), *slot, address);
        static_cast<void>(socket.release()); // the connection's from now on
    }
    catch (const std::exception& error)
    {
        m_connectionFailures.warn({error.what(), formatText("Connection rejected from %s failed starting it, %s",
                                                            paddedText(address).c_str(), error.what())});
        rejectClient(std::move(socket));
        return;
    }
    m_connectionFailures.succeeded();
    accepted.add();
}

bool Server::setSocketOptions(int socket)
{
    const auto failure = applySocketOptions(socket, acceptedOptions);
    if (failure)
    {
        LOG_WARN_F(m_logger, "%s", failure->text.c_str());
        return false;
    }
    // Without these the system probes as it is wont to.
    tryEachSocketOption(socket, m_isPressureHigh ? urgentProbes : calmProbes, m_logger);
    return true;
}

void Server::rejectClient(UniqueFd client)
{
    rejected.add();
    const int socket = client.get();
    if (::shutdown(socket, SHUT_RDWR) != 0)
    {
        LOG_INFO_F(m_logger, "Rejecting connection: failed shutdown on socket %d, %s", socket,
                   systemErrorText().c_str());
    }
    prepareToClose(socket);
    if (::close(client.release()) != 0)
    {
        LOG_INFO_F(m_logger, "Rejecting connection: failed close on socket %d, %s", socket, systemErrorText().c_str());
    }
}

void Server::removeAnyDeadClients()
{
    for (auto& connection : m_slots)
    {
        if (connection != nullptr && !connection->isRunning())
        {
            LOG_INFO_F(m_logger, "removed dead tcp connection, fd = %i", connection->socket());
            connection.reset();
        }
    }
}

void Server::watchPeers()
{
    const auto now = PeerWatch::Clock::now();
    if (now < m_nextWatch)
    {
        return;
    }
    m_nextWatch = now + passWait;
    for (std::size_t slot = 0; slot < m_slots.size(); ++slot)
    {
        const auto& connection = m_slots[slot];
        if (connection == nullptr || !connection->isRunning())
        {
            continue;
        }
        const auto signs = peerSigns(connection->socket());
        if (signs && m_watches[slot].hasVanished(*signs, now))
        {
            LOG_INFO_F(m_logger, "controller %s has confirmed nothing for %d s, fd = %d",
                       dottedText(connection->clientAddress()).c_str(), static_cast<int>(PeerWatch::patience.count()),
                       connection->socket());
            connection->requestStop();
        }
    }
}

void Server::setProbes()
{
    const bool isHigh = m_pressure.isHigh(!hasFreeSlot(), SlotPressure::Clock::now());
    if (isHigh == std::exchange(m_isPressureHigh, isHigh))
    {
        return;
    }
    for (const auto& connection : m_slots)
    {
        if (connection != nullptr)
        {
            tryEachSocketOption(connection->socket(), isHigh ? urgentProbes : calmProbes, m_logger);
        }
    }
}

void Server::removeAllClients()
{
    // All are told before the first is waited for, so that the slowest alone decides how long this takes.
    for (const auto& connection : m_slots)
    {
        if (connection != nullptr)
        {
            connection->requestStop();
        }
    }
    for (auto& connection : m_slots)
    {
        connection.reset();
    }
}

std::optional<std::uint32_t> Server::findFreeSlot() const
{
    const auto slot = std::find(m_slots.begin(), m_slots.end(), nullptr);
    if (slot == m_slots.end())
    {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(slot - m_slots.begin());
}

void Server::pause()
{
    m_wakeEvent.waitUntil(std::chrono::steady_clock::now() + passWait);
}
