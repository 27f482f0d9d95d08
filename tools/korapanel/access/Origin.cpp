#include "tools/korapanel/access/Origin.h"

#include <algorithm>
#include <cctype>

namespace korapanel
{
namespace
{

constexpr std::size_t longestHost = 255;

std::string small(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isPort(std::string_view text)
{
    return !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isName(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
    });
}

} // namespace

std::string nameOfHost(std::string_view host)
{
    if (host.empty() || host.size() > longestHost)
    {
        return "";
    }
    std::size_t end = 0;
    std::string_view name;
    if (host.front() == '[')
    {
        end = host.find(']');
        if (end == std::string_view::npos)
        {
            return "";
        }
        name = host.substr(1, end - 1);
        ++end;
        if (name.empty() || name.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos)
        {
            return "";
        }
    }
    else
    {
        end = std::min(host.find(':'), host.size());
        name = host.substr(0, end);
        if (!isName(name))
        {
            return "";
        }
    }
    const std::string_view rest = host.substr(end);
    if (!rest.empty() && (rest.front() != ':' || !isPort(rest.substr(1))))
    {
        return "";
    }
    return small(name);
}

bool isHostName(std::string_view text)
{
    const std::string bracketed = "[" + std::string(text) + "]";
    return !text.empty() && (nameOfHost(text) == small(text) || nameOfHost(bracketed) == small(text));
}

OriginCheck::OriginCheck(const std::set<std::string>& names) : m_names{"localhost", "127.0.0.1", "::1"}
{
    for (const std::string& name : names)
    {
        m_names.insert(small(name));
    }
}

bool OriginCheck::isKnownHost(std::string_view host, std::string_view local) const
{
    const std::string name = nameOfHost(host);
    return !name.empty() && (m_names.contains(name) || name == small(local));
}

bool OriginCheck::isOwnOrigin(std::string_view origin, std::string_view host)
{
    for (const std::string_view scheme : {"http://", "https://"})
    {
        if (origin.starts_with(scheme) && small(origin.substr(scheme.size())) == small(host))
        {
            return true;
        }
    }
    return false;
}

} // namespace korapanel
