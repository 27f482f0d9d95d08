#pragma once

#include <set>
#include <string>
#include <string_view>

namespace korapanel
{

/// Decides which Host and Origin headers a request may carry. A page that somebody else serves may be open in the same
/// browser: it sends its own Origin. A name that somebody else lets point to this machine ("rebinding") comes as Host.
/// Plain value; thread-safe after it is made.
class OriginCheck
{
public:
    /// Names under which the panel is known beside the loopback ones; as they stand in a browser, without a port.
    explicit OriginCheck(const std::set<std::string>& names);

    /// `local` is the address that the request came to.
    bool isKnownHost(std::string_view host, std::string_view local) const;
    /// Whether the page that asks is the panel's own; `host` is the request's.
    static bool isOwnOrigin(std::string_view origin, std::string_view host);

private:
    std::set<std::string> m_names; ///< in small letters
};

/// The name or address of a Host header, without port and brackets, in small letters; empty when it is malformed.
std::string nameOfHost(std::string_view host);

/// Whether a text is a host's name or address alone, in any letters: no port, no brackets.
bool isHostName(std::string_view text);

} // namespace korapanel
