#include "tests/flatness/ProcessFigures.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace flatness
{

namespace
{

std::size_t entriesOf(const std::string& directory)
{
    std::error_code none; // an ended process has none
    const std::filesystem::directory_iterator entries(directory, none);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

} // namespace

ProcessFigures ProcessFigures::of(pid_t process)
{
    const std::string directory = "/proc/" + std::to_string(process);
    ProcessFigures figures;
    std::ifstream status(directory + "/status");
    for (std::string word; status >> word;)
    {
        if (word == "VmRSS:")
        {
            status >> figures.residentKiB;
            break;
        }
    }
    figures.descriptors = entriesOf(directory + "/fd");
    figures.threads = entriesOf(directory + "/task");
    return figures;
}

} // namespace flatness
