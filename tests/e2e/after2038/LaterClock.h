#pragma once

#include <cstdint>

namespace e2e
{

/// How far ahead the clock of the program is that LaterClock.cpp is linked into, unless its environment says otherwise:
/// 14 years of 365.25 days.
inline constexpr std::int64_t laterBySeconds = 441'806'400;

} // namespace e2e
