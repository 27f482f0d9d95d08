#include "tests/e2e/security/WireTap.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace e2e
{

WireTap::WireTap() : m_socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL)))
{
    if (m_socket < 0)
    {
        throw std::runtime_error("no packet socket");
    }
    const int size = 16 * 1024 * 1024; // a burst must not be lost
    static_cast<void>(::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size));
    m_thread = std::thread(&WireTap::run, this);
}

WireTap::~WireTap()
{
    m_isEnding = true;
    m_thread.join();
    ::close(m_socket);
}

void WireTap::run()
{
    std::array<char, 70000> packet{};
    while (!m_isEnding)
    {
        pollfd wait{m_socket, POLLIN, 0};
        if (::poll(&wait, 1, 20) <= 0)
        {
            continue;
        }
        const auto size = ::recv(m_socket, packet.data(), packet.size(), 0);
        if (size > 0)
        {
            const std::lock_guard lock(m_mutex);
            ++m_packets;
            m_seen.append(packet.data(), static_cast<std::size_t>(size)).append(1, '\n');
        }
    }
}

bool WireTap::hasSeen(const std::string& bytes) const
{
    const std::lock_guard lock(m_mutex);
    return m_seen.find(bytes) != std::string::npos;
}

std::size_t WireTap::packets() const
{
    const std::lock_guard lock(m_mutex);
    return m_packets;
}

} // namespace e2e
