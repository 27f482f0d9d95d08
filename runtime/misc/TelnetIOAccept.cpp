// The accepting thread of TelnetIO.
#include "runtime/misc/TelnetClient.h"
#include "runtime/misc/TelnetIO.h"
#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/SystemError.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <utility>

namespace com::tallowcrest::misc
{
using util::systemErrorText;

namespace
{
constexpr std::chrono::milliseconds retryTime{1000};
/// How often a client that lags behind is offered its text.
constexpr std::chrono::milliseconds flushTime{20};
} // namespace

bool TelnetIO::openServerSocket()
{
    const bool isLogged = m_openFailures.allow();
    const bool isOpen = m_listener.open(isLogged);
    m_isListening = isOpen;
    if (isOpen)
    {
        m_openFailures.clear();
    }
    else if (isLogged)
    {
        LOG_WARN_F(m_logger, "openServerSocket() failed");
        logHeldBack(m_openFailures);
    }
    return isOpen;
}

void TelnetIO::acceptConnections()
{
    while (m_running.load())
    {
        try
        {
            acceptOnce();
        }
        catch (const std::exception& error)
        {
            REPORT_ERROR_F(m_logger, "telnet console: %s", error.what());
            waitAccepting(retryTime);
        }
    }
}

void TelnetIO::acceptOnce()
{
    const auto current = client();
    if (current)
    {
        current->flush();
    }
    if (!m_listener.isOpen() && !openServerSocket())
    {
        waitAccepting(current && current->hasPendingText() ? flushTime : retryTime);
        return;
    }
    const auto timeout = current && current->hasPendingText() ? flushTime : retryTime;
    std::array<pollfd, 2> waits{{{m_listener.fd(), POLLIN, 0}, {m_acceptorWake.fd(), POLLIN, 0}}};
    const int ready = ::poll(waits.data(), waits.size(), static_cast<int>(timeout.count()));
    if (ready < 0 && errno != EINTR)
    {
        if (m_waitFailures.allow())
        {
            LOG_WARN_F(m_logger, "select failed socket %d %s", m_listener.fd(), systemErrorText().c_str());
            logHeldBack(m_waitFailures);
        }
        std::this_thread::sleep_for(retryTime);
    }
    if (ready <= 0)
    {
        return;
    }
    if (waits[1].revents != 0)
    {
        m_acceptorWake.clear();
    }
    if ((waits[0].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0)
    {
        m_listener.close();
    }
    else if (waits[0].revents != 0 && m_running.load())
    {
        acceptClient();
    }
}

void TelnetIO::acceptClient()
{
    auto accepted = m_listener.accept();
    if (accepted)
    {
        if (const auto current = client())
        {
            reject(std::move(*accepted), current->address());
        }
        else
        {
            takeClient(std::move(*accepted));
        }
        return;
    }
    const int error = errno;
    if (error == EAGAIN || error == EINTR || error == ECONNABORTED)
    {
        return; // the newcomer left before it was its turn
    }
    if (m_acceptFailures.allow())
    {
        LOG_WARN_F(m_logger, "accept failed socket %d, %s", m_listener.fd(), systemErrorText(error).c_str());
        logHeldBack(m_acceptFailures);
    }
    // The newcomer stays in the queue, most likely because no descriptor is free: do not spin on it.
    waitAccepting(retryTime);
}

void TelnetIO::takeClient(TelnetListener::Accepted accepted)
{
    const auto newClient = std::make_shared<TelnetClient>(m_logger, std::move(accepted), ++m_lastSession);
    newClient->setOptions();
    newClient->send("* Telnet Session Connected *\n");
    {
        const std::lock_guard lock(m_mutex);
        m_client = newClient;
    }
    m_readerWake.signal();
    const std::string address = util::paddedText(newClient->address());
    static_cast<void>(std::printf("\n* Telnet Session Connected - client:  %s *\n", address.c_str()));
    static_cast<void>(std::fflush(stdout));
    LOG_INFO_F(m_logger, "Telnet connected to %s", address.c_str());
}

void TelnetIO::reject(TelnetListener::Accepted newcomer, std::uint32_t connected)
{
    if (m_rejections.allow())
    {
        LOG_INFO_F(m_logger, "Telnet connection rejected, already connected to %s",
                   util::paddedText(connected).c_str());
        logHeldBack(m_rejections);
    }
    const int socket = newcomer.socket.get();
    if (const auto failure = util::applySocketOptions(socket, util::resetOnClose))
    {
        LOG_WARN_F(m_logger, "Rejecting connection: %s", failure->text.c_str());
    }
    // A newcomer that has left already is no failure of ours.
    if (::shutdown(socket, SHUT_RDWR) != 0 && errno != ENOTCONN)
    {
        LOG_WARN_F(m_logger, "Rejecting connection: failed shutdown on client socket %d, %s", socket,
                   systemErrorText().c_str());
    }
    if (::close(newcomer.socket.release()) != 0)
    {
        LOG_WARN_F(m_logger, "Rejecting connection: failed close on client socket %d, %s", socket,
                   systemErrorText().c_str());
    }
}

void TelnetIO::waitAccepting(std::chrono::milliseconds timeout) const
{
    m_acceptorWake.waitUntil(std::chrono::steady_clock::now() + timeout);
}

void TelnetIO::logHeldBack(util::LogLimit& limit) const
{
    if (const auto count = limit.takeHeldBack(); count > 0)
    {
        LOG_INFO_F(m_logger, "repeated %u times since it was last logged", count);
    }
}

} // namespace com::tallowcrest::misc
