#include "koraclient/BridgeHosts.h"

#include "koraclient/Errors.h"

#include <stdexcept>
#include <utility>

namespace koraclient
{

BridgeHosts::BridgeHosts(std::vector<std::string> hosts, std::uint16_t port, std::chrono::milliseconds timeout)
    : m_hosts(std::move(hosts)), m_port(port), m_timeout(timeout)
{
    if (m_hosts.empty())
    {
        throw std::invalid_argument("no host");
    }
}

KoraClient BridgeHosts::connect()
{
    m_passedBy.clear();
    if (m_hosts.size() == 1)
    {
        return KoraClient(m_hosts.front(), m_port, m_timeout);
    }
    for (std::size_t place = 0; place < m_hosts.size(); ++place)
    {
        const std::string& host = m_hosts[behind(place)];
        try
        {
            KoraClient client(host, m_port, m_timeout);
            (void)client.portPresent();
            m_current = behind(place);
            return client;
        }
        catch (const ConnectError& problem)
        {
            m_passedBy.emplace_back(problem.what()); // names the host
        }
        catch (const KoraError& problem)
        {
            m_passedBy.push_back(host + ": " + problem.what());
        }
    }
    std::string all;
    for (const std::string& reason : m_passedBy)
    {
        all += (all.empty() ? "" : "; ") + reason;
    }
    throw ConnectError(all);
}

} // namespace koraclient
