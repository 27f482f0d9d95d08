#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace testsupport
{

/// An IPv4 address in dotted text and a port in host order, as the system's calls take them.
inline sockaddr_in socketAddress(const char* text, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, text, &address.sin_addr) != 1)
    {
        throw std::invalid_argument(std::string(text) + " is no IPv4 address");
    }
    return address;
}

} // namespace testsupport
