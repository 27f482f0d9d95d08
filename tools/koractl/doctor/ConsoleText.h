#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace koractl
{

/// What the console prints, read as an operator reads it. Pure.

/// Above the table of connections.
inline constexpr std::string_view connectionsHeading = "clientFd         Ip Addr";

/// The router's partition by a crosspoint table's first row; empty before a join, absent where there is no table.
std::optional<std::string> partitionOf(const std::string& table);
/// The rows of the table of connections; absent where there is no such table.
std::optional<std::uint32_t> controllersOf(const std::string& table);

} // namespace koractl
