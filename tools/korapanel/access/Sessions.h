#pragma once

#include "tools/korapanel/access/TokenFile.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace korapanel
{

/// Who asks, and what they may do.
struct Identity
{
    std::string name;
    bool mayControl = false;
    std::optional<std::int64_t> expires{}; ///< seconds since 1970; nothing: never
    std::string session{};                 ///< the cookie's value; empty without one
};

/// Browsers that showed a token, each by the secret in its cookie. There are no more than the bound: a new one takes
/// the place of the oldest. Belongs to one thread.
class Sessions
{
public:
    static constexpr std::size_t most = 256;

    struct Session
    {
        std::string token; ///< its name
        std::string hash;  ///< as it was then: another means another token
        std::int64_t expires = 0;
    };

    /// Returns the cookie's value.
    std::string begin(Session session);
    /// Nothing when there is none or it has expired.
    const Session* find(const std::string& secret, std::int64_t now) const;
    void end(const std::string& secret) { m_sessions.erase(secret); }
    std::size_t size() const { return m_sessions.size(); }

private:
    std::map<std::string, Session> m_sessions;
};

} // namespace korapanel
