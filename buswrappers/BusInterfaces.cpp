#include "buswrappers/BusInterfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>

namespace com::tallowcrest::routing
{

namespace
{

/// An address as that of its family, which it need not be aligned for.
template <typename Address>
Address copyOf(const sockaddr* address)
{
    Address copy{};
    std::memcpy(&copy, address, sizeof copy);
    return copy;
}

/// An address as text, without its port; empty for none, and for the one that means all.
std::string addressText(const sockaddr* address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address != nullptr && address->sa_family == AF_INET)
    {
        const in_addr host = copyOf<sockaddr_in>(address).sin_addr;
        return host.s_addr == htonl(INADDR_ANY) ? "" : ::inet_ntop(AF_INET, &host, text.data(), text.size());
    }
    if (address != nullptr && address->sa_family == AF_INET6)
    {
        const in6_addr host = copyOf<sockaddr_in6>(address).sin6_addr;
        return IN6_IS_ADDR_UNSPECIFIED(&host) ? "" : ::inet_ntop(AF_INET6, &host, text.data(), text.size());
    }
    return "";
}

/// What a socket for datagrams to many is bound to; empty for everything else. One that talks to a single peer, a log
/// server say, is not the bus's.
std::string boundAddress(int descriptor)
{
    int type = 0;
    socklen_t size = sizeof type;
    sockaddr_storage address{};
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_DGRAM)
    {
        return "";
    }
    size = sizeof address;
    if (::getpeername(descriptor, generic, &size) == 0)
    {
        return "";
    }
    size = sizeof address;
    return ::getsockname(descriptor, generic, &size) == 0 ? addressText(generic) : "";
}

std::set<std::string> boundAddresses()
{
    std::set<std::string> addresses;
    std::error_code error; // without the directory nothing is known
    for (std::filesystem::directory_iterator entry("/proc/self/fd", error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string name = entry->path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        if (const std::string address = boundAddress(descriptor); !address.empty())
        {
            addresses.insert(address);
        }
    }
    return addresses;
}

} // namespace

std::string busInterfaces()
{
    const std::set<std::string> bound = boundAddresses();
    ifaddrs* all = nullptr;
    if (bound.empty() || ::getifaddrs(&all) != 0)
    {
        return "unknown";
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(all, ::freeifaddrs);
    std::string text;
    for (const ifaddrs* one = all; one != nullptr; one = one->ifa_next)
    {
        if (const std::string address = addressText(one->ifa_addr); bound.contains(address))
        {
            text += (text.empty() ? "" : ", ") + std::string(one->ifa_name) + " (" + address + ")";
        }
    }
    return text.empty() ? "unknown" : text;
}

} // namespace com::tallowcrest::routing
