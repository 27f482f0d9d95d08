#pragma once

namespace testsupport
{

/// True in a build whose check of dynamic types looks at memory through a pipe of its own: where no descriptor is left
/// for one, it takes every object for a wrong one and ends the program. Such tests run in all other builds.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool typeCheckNeedsDescriptors = true;
#else
inline constexpr bool typeCheckNeedsDescriptors = false;
#endif
inline constexpr const char* typeCheckReason = "the sanitizer's check of dynamic types needs descriptors";

} // namespace testsupport
