#pragma once

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

} // namespace flatness
