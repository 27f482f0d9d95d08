#pragma once

#include <cstdint>
#include <string>

namespace com::tallowcrest::util
{

/// "127.0.0.1" of an IPv4 address in network order.
std::string dottedText(std::uint32_t networkOrderAddress);

/// "127.000.000.001" of an IPv4 address in network order.
std::string paddedText(std::uint32_t networkOrderAddress);

} // namespace com::tallowcrest::util
