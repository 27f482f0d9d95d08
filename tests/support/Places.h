#pragma once

#include <cstdint>
#include <filesystem>

namespace testsupport
{

/// The project's root.
std::filesystem::path sourceFolder();
/// build/<preset> of the build that the test belongs to.
std::filesystem::path buildFolder();

/// Where the bridge listens for controllers.
inline constexpr std::uint16_t koraPort = 5194;
/// Where its console listens for operators.
inline constexpr std::uint16_t telnetPort = 8882;

} // namespace testsupport
