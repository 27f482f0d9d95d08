#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace flatness
{

/// What the system says of a process. Plain value.
struct ProcessFigures
{
    std::size_t residentKiB = 0; ///< of an emulated program without its emulator (KORABRIDGE_EMULATED_BASE)
    std::size_t descriptors = 0;
    std::size_t threads = 0;

    /// All 0 when there is no such process.
    static ProcessFigures of(pid_t process);
};

/// What the descriptors of a process refer to, for people.
std::string describeDescriptors(pid_t process);

} // namespace flatness
