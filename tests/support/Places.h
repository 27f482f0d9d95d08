#pragma once

#include <filesystem>

namespace testsupport
{

/// The project's root.
std::filesystem::path sourceFolder();
/// build/<preset> of the build that the test belongs to.
std::filesystem::path buildFolder();

} // namespace testsupport
