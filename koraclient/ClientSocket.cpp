#include "koraclient/ClientSocket.h"

#include "koraclient/Errors.h"
#include "runtime/util/SystemError.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace koraclient
{

namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

/// A socket connected to `address`, or a closed one with the reason in `error`.
UniqueFd connectToOne(const addrinfo& address, std::chrono::steady_clock::time_point deadline, std::string& error)
{
    UniqueFd fd(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd.isOpen())
    {
        error = systemErrorText();
        return UniqueFd();
    }
    if (::connect(fd.get(), address.ai_addr, address.ai_addrlen) != 0)
    {
        if (errno != EINPROGRESS)
        {
            error = systemErrorText();
            return UniqueFd();
        }
        if (!waitUntilReady(fd.get(), POLLOUT, deadline))
        {
            error = "no answer in time";
            return UniqueFd();
        }
        int failure = 0;
        socklen_t size = sizeof failure;
        if (::getsockopt(fd.get(), SOL_SOCKET, SO_ERROR, &failure, &size) != 0)
        {
            failure = errno;
        }
        if (failure != 0)
        {
            error = systemErrorText(failure);
            return UniqueFd();
        }
    }
    const int on = 1;
    // Without it a request that follows closely on another waits for the other's acknowledgement; only slower.
    (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

} // namespace

bool waitUntilReady(int fd, short events, std::chrono::steady_clock::time_point deadline)
{
    for (;;)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd entry{fd, events, 0};
        const int timeout = left.count() > 0 ? static_cast<int>(std::min<long long>(left.count(), 60'000)) : 0;
        const int ready = ::poll(&entry, 1, timeout);
        if (ready > 0)
        {
            return true;
        }
        if (ready < 0 && errno != EINTR)
        {
            throw PeerClosed("waiting for the connection failed: " + systemErrorText());
        }
        if (std::chrono::steady_clock::now() >= deadline)
        {
            return false;
        }
    }
}

UniqueFd connectTo(const std::string& host, std::uint16_t port, std::chrono::steady_clock::time_point deadline)
{
    const std::string where = host + " port " + std::to_string(port);
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int failure = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (failure != 0)
    {
        throw ConnectError("cannot connect to " + where + ": " + ::gai_strerror(failure));
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    std::string error = "the host has no address";
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next)
    {
        if (UniqueFd fd = connectToOne(*address, deadline, error); fd.isOpen())
        {
            return fd;
        }
    }
    throw ConnectError("cannot connect to " + where + ": " + error);
}

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
