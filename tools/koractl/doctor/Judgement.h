#pragma once

#include "tools/koractl/doctor/Facts.h"
#include "tools/koractl/doctor/Finding.h"

#include <vector>

namespace koractl
{

/// What is wrong with a bridge, by what was seen of it, the worst first. Nothing is concluded from what was not seen.
/// Pure.
std::vector<Finding> judge(const Facts& facts);

/// Above these something is said.
inline constexpr std::chrono::seconds mostClockDifference{2};
inline constexpr std::chrono::milliseconds longestAnswer{250};
inline constexpr std::chrono::seconds oldestMetrics{60};
inline constexpr std::uint32_t numSlots = 16;
inline constexpr std::uint32_t manyRestarts = 3;

} // namespace koractl
