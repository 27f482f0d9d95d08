#include "tools/korapanel/access/Throttle.h"

#include <algorithm>

namespace korapanel
{

std::chrono::seconds Throttle::waitOf(const std::string& address, Clock::time_point now) const
{
    const auto found = m_failures.find(address);
    return found == m_failures.end() || found->second.until <= now
               ? std::chrono::seconds(0)
               : std::chrono::ceil<std::chrono::seconds>(found->second.until - now);
}

void Throttle::failed(const std::string& address, Clock::time_point now)
{
    if (m_failures.size() >= mostAddresses && !m_failures.contains(address))
    {
        m_failures.erase(std::min_element(m_failures.begin(), m_failures.end(), [](const auto& one, const auto& other) {
            return one.second.until < other.second.until;
        }));
    }
    Failure& failure = m_failures[address];
    failure.wait = std::clamp(failure.wait * 2, firstWait, longestWait);
    failure.until = now + failure.wait;
}

} // namespace korapanel
