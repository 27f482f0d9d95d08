#include "tests/flatness/PoolTable.h"

#include <sstream>
#include <stdexcept>

namespace flatness
{

PoolTable parsePoolTable(const std::string& text)
{
    PoolTable table;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream words(line);
        std::string name;
        std::string grow;
        std::size_t stride = 0;
        std::size_t available = 0;
        PoolRow row;
        words >> name >> grow >> row.blocks >> stride >> row.total >> available >> row.inUse;
        if (words && (grow == "Yes" || grow == "No"))
        {
            table[name] = row;
        }
    }
    if (table.empty())
    {
        throw std::runtime_error("no table of pools: '" + text + "'");
    }
    return table;
}

std::size_t inUse(const PoolTable& table)
{
    std::size_t sum = 0;
    for (const auto& [name, row] : table)
    {
        sum += row.inUse;
    }
    return sum;
}

std::size_t blocks(const PoolTable& table)
{
    std::size_t sum = 0;
    for (const auto& [name, row] : table)
    {
        sum += row.blocks;
    }
    return sum;
}

} // namespace flatness
