#include "runtime/util/Ipv4Address.h"

#include "runtime/util/TextFormat.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>
#include <bit>

namespace com::tallowcrest::util
{

std::string dottedText(std::uint32_t networkOrderAddress)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    in_addr address{};
    address.s_addr = networkOrderAddress;
    return ::inet_ntop(AF_INET, &address, text.data(), text.size()) != nullptr ? text.data() : "";
}

std::string paddedText(std::uint32_t networkOrderAddress)
{
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 4>>(networkOrderAddress);
    return formatText("%03d.%03d.%03d.%03d", bytes[0], bytes[1], bytes[2], bytes[3]);
}

} // namespace com::tallowcrest::util
