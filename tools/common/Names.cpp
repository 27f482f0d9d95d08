#include "tools/common/Names.h"

#include "runtime/util/SystemError.h"
#include "runtime/util/VisibleText.h"
#include "tools/common/FileLines.h"
#include "tools/common/ParseText.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace koractl
{
namespace
{

constexpr std::size_t longestName = 64;

bool isNumber(const std::string& text)
{
    return text.find_first_not_of("0123456789") == std::string::npos || text.starts_with("0x") ||
           text.starts_with("0X");
}

/// Throws std::invalid_argument unless the text can stand for a number on the command line.
void checkName(const std::string& name)
{
    if (name.empty())
    {
        throw std::invalid_argument("the name is missing");
    }
    if (displayWidth(name) > longestName)
    {
        throw std::invalid_argument("the name is longer than " + std::to_string(longestName) + " characters");
    }
    if (isNumber(name))
    {
        throw std::invalid_argument("'" + name + "' would be read as a number");
    }
    if (name.find_first_of(":\"\t") != std::string::npos || name.front() == '-')
    {
        throw std::invalid_argument("a name holds no colon, quotation mark or tab and begins with no hyphen");
    }
}

} // namespace

Names Names::read(std::istream& in, const std::string& fileName)
{
    Names names;
    names.readFile(in, fileName);
    return names;
}

Names Names::load(const std::vector<std::string>& fileNames)
{
    Names names;
    for (const std::string& fileName : fileNames)
    {
        std::ifstream file(fileName);
        if (!file)
        {
            throw FileError(com::tallowcrest::util::visibleText(fileName) + ": " +
                            com::tallowcrest::util::systemErrorText());
        }
        names.readFile(file, fileName);
    }
    return names;
}

void Names::readFile(std::istream& in, const std::string& fileName)
{
    std::optional<std::uint32_t> level;
    forEachLine(in, fileName, [&](const std::string& line, std::size_t) { readLine(line, level); });
}

const Names& Names::none()
{
    static const Names empty;
    return empty;
}

std::uint32_t Names::lastInput(std::uint32_t level) const
{
    std::uint32_t last = 0;
    for (const auto& [key, list] : m_inputs)
    {
        if (!list.names.empty() && (!key || *key == level))
        {
            last = std::max(last, list.names.rbegin()->first);
        }
    }
    return last;
}

void Names::readLine(const std::string& line, std::optional<std::uint32_t>& level)
{
    LineScanner scanner(line);
    const std::string kind = scanner.word();
    if (kind != "level" && kind != "input" && kind != "output")
    {
        throw std::invalid_argument("'" + kind + "' cannot begin a line; level, input or output can");
    }
    const std::uint32_t number = parseNumber(scanner.word());
    const std::string name = scanner.rest();
    if (kind == "level")
    {
        level = number;
        if (name.empty())
        {
            return;
        }
    }
    checkName(name);
    add(kind == "level" ? m_levels : kind == "input" ? m_inputs[level] : m_outputs[level], number, name);
}

void Names::add(List& list, std::uint32_t number, const std::string& name)
{
    const auto [place, isNew] = list.numbers.emplace(name, number);
    if (!isNew && place->second != number)
    {
        throw std::invalid_argument("'" + name + "' is the name of " + std::to_string(place->second) + " already");
    }
    if (!list.names.emplace(number, name).second)
    {
        throw std::invalid_argument(std::to_string(number) + " has a name already: '" + list.names.at(number) + "'");
    }
}

std::optional<std::uint32_t> Names::find(const List& list, const std::string& name)
{
    const auto found = list.numbers.find(name);
    return found == list.numbers.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::uint32_t> Names::find(const Lists& lists, std::uint32_t level, const std::string& name)
{
    for (const std::optional<std::uint32_t> key : {std::optional(level), std::optional<std::uint32_t>()})
    {
        const auto list = lists.find(key);
        const auto number = list == lists.end() ? std::nullopt : find(list->second, name);
        if (number)
        {
            return number;
        }
    }
    return std::nullopt;
}

std::string Names::nameOf(const List& list, std::uint32_t number)
{
    const auto found = list.names.find(number);
    return found == list.names.end() ? "" : found->second;
}

std::string Names::nameOf(const Lists& lists, std::uint32_t level, std::uint32_t number)
{
    for (const std::optional<std::uint32_t> key : {std::optional(level), std::optional<std::uint32_t>()})
    {
        const auto list = lists.find(key);
        std::string name = list == lists.end() ? "" : nameOf(list->second, number);
        if (!name.empty())
        {
            return name;
        }
    }
    return "";
}

std::map<std::uint32_t, std::string> Names::namesOf(const Lists& lists, std::uint32_t level)
{
    std::map<std::uint32_t, std::string> all;
    for (const std::optional<std::uint32_t> key : {std::optional(level), std::optional<std::uint32_t>()})
    {
        if (const auto list = lists.find(key); list != lists.end())
        {
            all.insert(list->second.names.begin(), list->second.names.end());
        }
    }
    return all;
}

std::size_t Names::widthOf(const Lists& lists, std::uint32_t level)
{
    std::size_t width = 0;
    for (const auto& [key, list] : lists)
    {
        if (key && *key != level)
        {
            continue;
        }
        for (const auto& entry : list.names)
        {
            width = std::max(width, displayWidth(entry.second));
        }
    }
    return width;
}

} // namespace koractl
