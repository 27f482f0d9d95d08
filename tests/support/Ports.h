#pragma once

#include <cstdint>

namespace testsupport
{

/// Where the bridge listens for controllers.
inline constexpr std::uint16_t koraPort = 5194;
/// Where its console listens for operators.
inline constexpr std::uint16_t telnetPort = 8882;

} // namespace testsupport
