#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>

namespace flatness
{

/// The rows of the console's table of memory pools, by name.
struct PoolRow
{
    std::size_t blocks = 0;
    std::size_t total = 0;
    std::size_t inUse = 0;
};
using PoolTable = std::map<std::string, PoolRow>;

/// Reads the text that the console printed. Throws when it holds no table.
PoolTable parsePoolTable(const std::string& text);

std::size_t inUse(const PoolTable& table);
std::size_t blocks(const PoolTable& table);

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
