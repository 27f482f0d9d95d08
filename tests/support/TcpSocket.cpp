#include "tests/support/TcpSocket.h"

#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace testsupport
{

using Clock = std::chrono::steady_clock;

namespace
{

bool waitReadable(int fd, Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd entry{.fd = fd, .events = POLLIN, .revents = 0};
    return poll(&entry, 1, left > 0 ? static_cast<int>(left) : 0) > 0;
}

} // namespace

std::optional<TcpSocket> TcpSocket::connect(std::uint16_t port)
{
    TcpSocket client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Accepted, and reset before this thread ran again: EPIPE when the peer has shut down before its reset.
    if (::connect(client.m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 &&
        errno != ECONNRESET && errno != EPIPE)
    {
        return std::nullopt;
    }
    return client;
}

TcpSocket::~TcpSocket()
{
    close();
}

TcpSocket::TcpSocket(TcpSocket&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) noexcept
{
    if (this != &other)
    {
        close();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

void TcpSocket::send(const std::string& bytes) const
{
    std::size_t done = 0;
    while (done < bytes.size())
    {
        const auto count = ::send(m_fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0)
        {
            throw std::runtime_error("send failed");
        }
        done += static_cast<std::size_t>(count);
    }
}

std::string TcpSocket::receive(std::size_t size, std::chrono::milliseconds deadline) const
{
    const auto end = Clock::now() + scaled(deadline);
    std::string bytes;
    std::array<char, 4096> chunk{};
    while (bytes.size() < size && waitReadable(m_fd, end))
    {
        const auto count = recv(m_fd, chunk.data(), std::min(chunk.size(), size - bytes.size()), 0);
        if (count <= 0)
        {
            break;
        }
        bytes.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

std::string TcpSocket::receiveUntil(const std::string& text, std::chrono::milliseconds deadline) const
{
    const auto end = Clock::now() + scaled(deadline);
    std::string bytes;
    std::array<char, 4096> chunk{};
    while (bytes.find(text) == std::string::npos && waitReadable(m_fd, end))
    {
        const auto count = recv(m_fd, chunk.data(), chunk.size(), 0);
        if (count <= 0)
        {
            break;
        }
        bytes.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

bool TcpSocket::waitForClose(std::chrono::milliseconds deadline) const
{
    const auto end = Clock::now() + scaled(deadline);
    std::array<char, 4096> chunk{};
    while (waitReadable(m_fd, end))
    {
        if (recv(m_fd, chunk.data(), chunk.size(), 0) <= 0)
        {
            return true;
        }
    }
    return false;
}

void TcpSocket::reset()
{
    const linger abort{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &abort, sizeof(abort));
    close();
}

void TcpSocket::close()
{
    if (m_fd >= 0)
    {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool isListening(std::uint16_t port)
{
    // Columns of /proc/net/tcp: slot, local address:port, remote address:port, state (0A is LISTEN), ...
    std::ifstream table("/proc/net/tcp");
    std::array<char, 6> suffix{};
    static_cast<void>(std::snprintf(suffix.data(), suffix.size(), ":%04X", port));
    std::string line;
    while (std::getline(table, line))
    {
        std::istringstream columns(line);
        std::string slot;
        std::string local;
        std::string remote;
        std::string state;
        columns >> slot >> local >> remote >> state;
        if (state == "0A" && local.size() > 5 && local.compare(local.size() - 5, 5, suffix.data()) == 0)
        {
            return true;
        }
    }
    return false;
}

bool waitForPort(std::uint16_t port, std::chrono::milliseconds deadline)
{
    return waitUntil([port] { return isListening(port); }, deadline);
}

bool waitForClosedPort(std::uint16_t port, std::chrono::milliseconds deadline)
{
    return waitUntil([port] { return !isListening(port); }, deadline);
}

} // namespace testsupport
