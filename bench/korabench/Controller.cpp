#include "bench/korabench/Controller.h"

#include <cerrno>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "koracommand/WireWords.h"
#include "runtime/util/SystemError.h"
#include "tools/koractl/HexText.h"

namespace korabench
{
namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

constexpr std::chrono::seconds answerTimeout{10};

UniqueFd connectTo(const Endpoint& endpoint)
{
    const std::string where = endpoint.address + " port " + std::to_string(endpoint.port);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(endpoint.port);
    if (::inet_pton(AF_INET, endpoint.address.c_str(), &address.sin_addr) != 1)
    {
        throw std::runtime_error("'" + endpoint.address + "' is no IPv4 address");
    }
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.isOpen() || ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        throw NotConnected("cannot connect to " + where + ": " + systemErrorText());
    }
    const int on = 1;
    const timeval timeout{.tv_sec = answerTimeout.count(), .tv_usec = 0};
    if (::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
        ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) != 0)
    {
        throw std::runtime_error("socket option refused: " + systemErrorText());
    }
    return fd;
}

} // namespace

Controller::Controller(const Endpoint& endpoint, std::vector<Request> requests)
    : m_socket(connectTo(endpoint)), m_requests(std::move(requests)),
      // Tags of different connections differ, so that an answer to somebody else shows.
      m_tag(static_cast<std::uint32_t>(m_socket.get()) << 24U)
{
    if (m_requests.empty())
    {
        throw std::invalid_argument("a controller needs requests");
    }
}

void Controller::send()
{
    send(m_next);
    m_next = m_next + 1 == m_requests.size() ? 0 : m_next + 1;
}

void Controller::send(std::size_t index)
{
    m_last = index;
    std::vector<std::uint8_t>& bytes = m_requests[index].bytes;
    WireWriter(bytes).setBigEndianWordAt(wireLayout::header::sequence, ++m_tag);
    m_held = 0;
    m_isWaiting = true;
    m_sentAt = Clock::now();
    // The socket's buffer holds a whole request, as nothing else is on its way.
    const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(bytes.size()))
    {
        failGone("the request was not sent: " + (sent < 0 ? systemErrorText() : std::to_string(sent) + " bytes went"));
    }
}

bool Controller::receive()
{
    const ssize_t received = ::recv(m_socket.get(), m_buffer.data() + m_held, m_buffer.size() - m_held, 0);
    m_receivedAt = Clock::now();
    if (received <= 0)
    {
        if (received < 0 && errno == EINTR)
        {
            return false;
        }
        failGone(received == 0 ? "the bridge closed the connection" : "no answer: " + systemErrorText());
    }
    m_held += static_cast<std::size_t>(received);
    if (m_held < wireLayout::header::bytes)
    {
        return false;
    }
    const WireReader reader({m_buffer.data(), m_held});
    const std::uint32_t length = reader.bigEndianWordAt(wireLayout::header::length);
    if (length < wireLayout::header::bytes || length > m_buffer.size() || length < m_held)
    {
        fail("length word " + std::to_string(length) + " came with " + std::to_string(m_held) + " bytes");
    }
    if (m_held < length)
    {
        return false;
    }
    m_isWaiting = false;
    check();
    return true;
}

void Controller::check()
{
    const auto response = std::span<const std::uint8_t>(m_buffer).first(m_held);
    if (const auto fault = findFault(lastRequest(), m_tag, m_responses, response))
    {
        fail("wrong response: " + *fault);
    }
    ++m_responses;
    if (lastRequest().command == Command::Changes)
    {
        m_lastChanges = countChanges(response);
        m_changesSeen += m_lastChanges.entries;
    }
}

void Controller::probe()
{
    exchange(0);
}

void Controller::drainChanges()
{
    for (std::size_t i = 0; i < m_requests.size(); ++i)
    {
        if (m_requests[i].command != Command::Changes)
        {
            continue;
        }
        do
        {
            exchange(i);
        } while (m_lastChanges.entries != 0);
    }
}

void Controller::exchange(std::size_t index)
{
    send(index);
    while (!receive())
    {}
}

void Controller::fail(const std::string& what) const
{
    throw std::runtime_error(described(what));
}

void Controller::failGone(const std::string& what) const
{
    if (m_responses == 0)
    {
        throw NotConnected(described(what));
    }
    fail(what);
}

std::string Controller::described(const std::string& what) const
{
    return std::string(nameOf(lastRequest().command)) + ", tag " + koractl::hexText(m_tag) + ", response " +
           std::to_string(m_responses) + ": " + what;
}

} // namespace korabench
