#include "tools/koractl/doctor/ConsoleText.h"

#include "runtime/util/VisibleText.h"

#include <cctype>
#include <sstream>
#include <string_view>
#include <utility>

namespace koractl
{
namespace
{

constexpr std::string_view tableHeading = "routerPartition  Output";
constexpr std::size_t partitionWidth = 16;

/// A descriptor, and an address of four groups of three digits. The menu, which another thread prints, may have left
/// its prompt before them.
bool isConnection(const std::string& line)
{
    std::istringstream words(line);
    std::string descriptor;
    std::string address;
    for (std::string word; words >> word;)
    {
        descriptor = std::exchange(address, word);
    }
    constexpr std::string_view pattern = "ddd.ddd.ddd.ddd";
    bool isAddress = address.size() == pattern.size();
    for (std::size_t i = 0; isAddress && i < pattern.size(); ++i)
    {
        isAddress = pattern[i] == '.' ? address[i] == '.' : std::isdigit(static_cast<unsigned char>(address[i])) != 0;
    }
    return isAddress && !descriptor.empty() && descriptor.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

std::optional<std::string> partitionOf(const std::string& table)
{
    std::istringstream lines(table);
    std::string line;
    while (std::getline(lines, line) && line.find(tableHeading) == std::string::npos)
    {}
    if (!std::getline(lines, line) || !std::getline(lines, line) || line.size() < partitionWidth)
    {
        return std::nullopt;
    }
    const std::string cell = line.substr(0, partitionWidth);
    const std::size_t begin = cell.find_first_not_of(' ');
    return begin == std::string::npos ? "" : com::tallowcrest::util::visibleText(cell.substr(begin));
}

std::optional<std::uint32_t> controllersOf(const std::string& table)
{
    const std::size_t at = table.find(connectionsHeading);
    if (at == std::string::npos)
    {
        return std::nullopt;
    }
    std::uint32_t count = 0;
    std::istringstream lines(table.substr(at));
    for (std::string line; std::getline(lines, line);)
    {
        count += isConnection(line) ? 1U : 0U;
    }
    return count;
}

} // namespace koractl
