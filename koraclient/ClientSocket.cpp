#include "koraclient/ClientSocket.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

#include "koraclient/ConnectTo.h"
#include "koraclient/Errors.h"
#include "runtime/util/SystemError.h"

namespace koraclient
{

using com::tallowcrest::util::systemErrorText;

ClientSocket::ClientSocket(const std::string& host, std::uint16_t port, Clock::time_point deadline)
    : m_fd(connectTo(host, port, deadline))
{}

void ClientSocket::sendAll(std::span<const std::uint8_t> bytes, Clock::time_point deadline)
{
    while (!bytes.empty())
    {
        const ssize_t sent = ::send(m_fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0)
        {
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno == EINTR)
        {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK)
        {
            throw PeerClosed("the bridge is gone: " + systemErrorText());
        }
        if (!waitUntilReady(m_fd.get(), POLLOUT, deadline))
        {
            throw TimeoutError("the bridge did not take the request in time");
        }
    }
}

std::size_t ClientSocket::receiveSome(std::span<std::uint8_t> buffer, Clock::time_point deadline)
{
    for (;;)
    {
        const ssize_t received = ::recv(m_fd.get(), buffer.data(), buffer.size(), 0);
        if (received > 0)
        {
            return static_cast<std::size_t>(received);
        }
        if (received == 0)
        {
            throw PeerClosed("the bridge closed the connection");
        }
        if (errno == EINTR)
        {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK)
        {
            throw PeerClosed("the bridge is gone: " + systemErrorText());
        }
        if (!waitUntilReady(m_fd.get(), POLLIN, deadline))
        {
            throw TimeoutError("the bridge did not answer in time");
        }
    }
}

} // namespace koraclient
