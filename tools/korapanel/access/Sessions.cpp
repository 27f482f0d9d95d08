#include "tools/korapanel/access/Sessions.h"

#include "tools/korapanel/access/Secret.h"

#include <algorithm>
#include <utility>

namespace korapanel
{

std::string Sessions::begin(Session session)
{
    if (m_sessions.size() >= most)
    {
        m_sessions.erase(std::min_element(m_sessions.begin(), m_sessions.end(), [](const auto& one, const auto& other) {
            return one.second.expires < other.second.expires;
        }));
    }
    std::string secret = randomSecret();
    m_sessions.emplace(secret, std::move(session));
    return secret;
}

const Sessions::Session* Sessions::find(const std::string& secret, std::int64_t now) const
{
    const auto found = m_sessions.find(secret);
    return found == m_sessions.end() || found->second.expires <= now ? nullptr : &found->second;
}

} // namespace korapanel
