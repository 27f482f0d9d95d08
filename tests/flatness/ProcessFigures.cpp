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
