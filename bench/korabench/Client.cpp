#include "bench/korabench/Client.h"

#include "koraclient/ClientSocket.h"
#include "koraclient/Errors.h"
#include "runtime/util/SystemError.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>

namespace korabench
{
namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

constexpr std::chrono::seconds answerTimeout{10};

} // namespace

UniqueFd connectTo(const Endpoint& endpoint)
try
{
    UniqueFd fd = koraclient::connectTo(endpoint.address, endpoint.port, Clock::now() + answerTimeout);
    // It waits in the receive itself, which is one system call for an answer and not two.
    const timeval timeout{.tv_sec = answerTimeout.count(), .tv_usec = 0};
    if (::fcntl(fd.get(), F_SETFL, 0) != 0 ||
        ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) != 0)
    {
        throw std::runtime_error("socket option refused: " + systemErrorText());
    }
    return fd;
}
catch (const koraclient::ConnectError& error)
{
    throw NotConnected(error.what());
}

Client::Client(const Endpoint& endpoint) : m_socket(connectTo(endpoint)) {}

void Client::sendAll(std::span<const std::uint8_t> request)
{
    m_isWaiting = true;
    m_sentAt = Clock::now();
    // The socket's buffer holds a whole request, as nothing else is on its way.
    const ssize_t sent = ::send(m_socket.get(), request.data(), request.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(request.size()))
    {
        failGone("the request was not sent: " + (sent < 0 ? systemErrorText() : std::to_string(sent) + " bytes went"));
    }
}

std::size_t Client::receiveSome(std::span<std::uint8_t> space)
{
    const ssize_t received = ::recv(m_socket.get(), space.data(), space.size(), 0);
    m_receivedAt = Clock::now();
    if (received > 0)
    {
        return static_cast<std::size_t>(received);
    }
    if (received < 0 && errno == EINTR)
    {
        return 0;
    }
    failGone(received == 0 ? "the server closed the connection" : "no answer: " + systemErrorText());
}

void Client::finish()
{
    ++m_responses;
    m_isWaiting = false;
}

void Client::fail(const std::string& what) const
{
    throw std::runtime_error(described(what));
}

void Client::failGone(const std::string& what) const
{
    if (m_responses == 0)
    {
        throw NotConnected(described(what));
    }
    fail(what);
}

} // namespace korabench
