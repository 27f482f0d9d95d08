#pragma once

#include "koraclient/KoraClient.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace koraclient
{

/// The bridges that lead to one router, in the order in which a controller wants them, and the one that it uses now.
/// Gives connections, never sends a request again: what was not answered may have been done, and only the controller
/// knows whether doing it twice does harm. Owned by one thread.
class BridgeHosts
{
public:
    /// At least one host; each is given `timeout` to connect and, later, for each answer.
    explicit BridgeHosts(std::vector<std::string> hosts, std::uint16_t port = KoraClient::defaultPort,
                         std::chrono::milliseconds timeout = KoraClient::defaultTimeout);

    /// A connection to the current bridge or, when it is gone, to the first behind it that is not, which is then the
    /// current one. Where there are several each must answer a harmless request first: the system of a bridge that
    /// hangs still accepts connections for it. Throws what the only host's client throws; of several, ConnectError with
    /// the reason of each.
    KoraClient connect();

    /// The current bridge is gone, or has not answered: `connect` begins with the one behind it, and comes to it last.
    void skip() { m_current = behind(1); }

    const std::string& current() const { return m_hosts[m_current]; }
    /// The one behind the current one; itself where it is the only one.
    const std::string& next() const { return m_hosts[behind(1)]; }
    std::size_t size() const { return m_hosts.size(); }
    /// Why `connect` went by others the last time, a sentence each, in their order.
    const std::vector<std::string>& passedBy() const { return m_passedBy; }

private:
    std::size_t behind(std::size_t places) const { return (m_current + places) % m_hosts.size(); }

    const std::vector<std::string> m_hosts;
    const std::uint16_t m_port;
    const std::chrono::milliseconds m_timeout;
    std::size_t m_current = 0;
    std::vector<std::string> m_passedBy;
};

} // namespace koraclient
