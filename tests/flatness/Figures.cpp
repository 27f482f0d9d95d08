#include "tests/flatness/Figures.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

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

namespace
{

std::size_t entriesOf(const std::string& directory)
{
    std::error_code none; // an ended process has none
    const std::filesystem::directory_iterator entries(directory, none);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// All resident memory of a process.
std::size_t residentOf(const std::string& directory)
{
    std::ifstream status(directory + "/status");
    std::size_t kib = 0;
    for (std::string word; status >> word;)
    {
        if (word == "VmRSS:")
        {
            status >> kib;
            break;
        }
    }
    return kib;
}

/// The resident memory of an emulated program, whose 4 GiB of addresses begin at `base`: what lies beside them is the
/// emulator, which keeps something for each thread that has ended. By way of the task, because the emulator has a text
/// of its own for the mappings of the process itself.
std::size_t residentOfEmulated(const std::string& directory, pid_t process, std::uint64_t base)
{
    std::ifstream mappings(directory + "/task/" + std::to_string(process) + "/smaps");
    std::size_t kib = 0;
    bool isOfProgram = false;
    for (std::string line; std::getline(mappings, line);)
    {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (const std::size_t dash = first.find('-'); dash != std::string::npos)
        {
            const std::uint64_t address = std::stoull(first.substr(0, dash), nullptr, 16);
            isOfProgram = address >= base && address - base <= std::numeric_limits<std::uint32_t>::max();
        }
        else if (isOfProgram && first == "Rss:")
        {
            std::size_t part = 0;
            words >> part;
            kib += part;
        }
    }
    return kib;
}

} // namespace

ProcessFigures ProcessFigures::of(pid_t process)
{
    const std::string directory = "/proc/" + std::to_string(process);
    const char* const base = std::getenv("KORABRIDGE_EMULATED_BASE"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    ProcessFigures figures;
    figures.residentKiB = base == nullptr ? residentOf(directory)
                                          : residentOfEmulated(directory, process, std::stoull(base, nullptr, 16));
    figures.descriptors = entriesOf(directory + "/fd");
    figures.threads = entriesOf(directory + "/task");
    return figures;
}

std::string describeDescriptors(pid_t process)
{
    std::string text;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd", none))
    {
        text +=
            entry.path().filename().string() + " " + std::filesystem::read_symlink(entry.path(), none).string() + "\n";
    }
    return text;
}

} // namespace flatness
