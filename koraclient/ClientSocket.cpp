#include "koraclient/ClientSocket.h"

#include "koraclient/Errors.h"
#include "runtime/util/SystemError.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

namespace koraclient
{

namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;
using com::tallowcrest::util::WakeEvent;

struct Failure
{
    std::string text;
    ConnectError::Cause cause = ConnectError::Cause::other;
};

Failure failureOf(int error)
{
    return {systemErrorText(error), error == ECONNREFUSED ? ConnectError::Cause::refused
                                    : error == ETIMEDOUT  ? ConnectError::Cause::late
                                                          : ConnectError::Cause::other};
}

/// A socket connected to `address`, or a closed one with the reason in `failure`.
UniqueFd connectToOne(const addrinfo& address, std::chrono::steady_clock::time_point deadline,
                      const WakeEvent* interrupt, Failure& failure)
{
    UniqueFd fd(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd.isOpen())
    {
        failure = failureOf(errno);
        return UniqueFd();
    }
    if (::connect(fd.get(), address.ai_addr, address.ai_addrlen) != 0)
    {
        if (errno != EINPROGRESS)
        {
            failure = failureOf(errno);
            return UniqueFd();
        }
        if (!waitUntilReady(fd.get(), POLLOUT, deadline, interrupt))
        {
            failure = {"no answer in time", ConnectError::Cause::late};
            return UniqueFd();
        }
        int error = 0;
        socklen_t size = sizeof error;
        if (::getsockopt(fd.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        {
            error = errno;
        }
        if (error != 0)
        {
            failure = failureOf(error);
            return UniqueFd();
        }
    }
    const int on = 1;
    // Without it a request that follows closely on another waits for the other's acknowledgement; only slower.
    (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

} // namespace

bool waitUntilReady(int fd, short events, std::chrono::steady_clock::time_point deadline, const WakeEvent* interrupt)
{
    for (;;)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        // poll ignores the descriptor -1.
        std::array<pollfd, 2> entries{{{fd, events, 0}, {interrupt == nullptr ? -1 : interrupt->fd(), POLLIN, 0}}};
        const int timeout = left.count() > 0 ? static_cast<int>(std::min<long long>(left.count(), 60'000)) : 0;
        const int ready = ::poll(entries.data(), entries.size(), timeout);
        if (ready > 0 && entries[1].revents != 0)
        {
            throw Interrupted("the wait for the bridge was ended");
        }
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

UniqueFd connectTo(const std::string& host, std::uint16_t port, std::chrono::steady_clock::time_point deadline,
                   const WakeEvent* interrupt)
{
    const std::string where = host + " port " + std::to_string(port);
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int unknown = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (unknown != 0)
    {
        throw ConnectError("cannot connect to " + where + ": " + ::gai_strerror(unknown),
                           ConnectError::Cause::unknownHost);
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    Failure failure{"the host has no address", ConnectError::Cause::unknownHost};
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next)
    {
        if (UniqueFd fd = connectToOne(*address, deadline, interrupt, failure); fd.isOpen())
        {
            return fd;
        }
    }
    throw ConnectError("cannot connect to " + where + ": " + failure.text, failure.cause);
}

using com::tallowcrest::util::systemErrorText;

ClientSocket::ClientSocket(const std::string& host, std::uint16_t port, Clock::time_point deadline,
                           const WakeEvent* interrupt)
    : m_interrupt(interrupt), m_fd(connectTo(host, port, deadline, interrupt))
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
        waitOrGiveUp(POLLOUT, deadline, "the bridge did not take the request in time");
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
        waitOrGiveUp(POLLIN, deadline, "the bridge did not answer in time");
    }
}

void ClientSocket::waitOrGiveUp(short events, Clock::time_point deadline, const char* why) const
{
    try
    {
        if (waitUntilReady(m_fd.get(), events, deadline, m_interrupt))
        {
            return;
        }
    }
    catch (const Interrupted&)
    {
        resetWhenClosed();
        throw;
    }
    resetWhenClosed();
    throw TimeoutError(why);
}

void ClientSocket::resetWhenClosed() const
{
    const linger reset{.l_onoff = 1, .l_linger = 0};
    // Without it what was sent may still arrive; the caller is told the same.
    (void)::setsockopt(m_fd.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

} // namespace koraclient
