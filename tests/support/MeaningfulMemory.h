#pragma once

namespace testsupport
{

/// Whether the memory that a program takes says anything: a sanitizer keeps memory that was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isMemoryMeaningful = false;
#else
inline constexpr bool isMemoryMeaningful = true;
#endif

} // namespace testsupport
