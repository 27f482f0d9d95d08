#include "tools/common/AddressReader.h"

#include "tools/common/ParseText.h"

#include <stdexcept>
#include <vector>

namespace koractl
{
namespace
{

using koraclient::TakeEntry;

std::string notOfForm(const std::string& text, const std::string& form)
{
    return "'" + text + "' is not of the form " + form;
}

std::vector<std::string> splitAtColons(const std::string& text, const std::string& form, std::size_t wanted)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;)
    {
        const std::size_t colon = text.find(':', start);
        parts.push_back(text.substr(start, colon - start));
        if (colon == std::string::npos)
        {
            break;
        }
        start = colon + 1;
    }
    if (parts.size() != wanted)
    {
        throw std::invalid_argument(notOfForm(text, form));
    }
    return parts;
}

} // namespace

std::uint32_t AddressReader::read(const std::string& text, std::optional<std::uint32_t> named,
                                  const std::string& what) const
{
    if (named)
    {
        return *named;
    }
    try
    {
        return parseNumber(text);
    }
    catch (const std::invalid_argument&)
    {
        if (m_names.isEmpty())
        {
            throw;
        }
        throw std::invalid_argument("'" + text + "' is neither a number nor the name of " + what);
    }
}

std::uint32_t AddressReader::level(const std::string& text) const
{
    return read(text, m_names.findLevel(text), "a level");
}

std::uint32_t AddressReader::input(std::uint32_t level, const std::string& text) const
{
    return read(text, m_names.findInput(level, text), "an input of level " + std::to_string(level));
}

std::uint32_t AddressReader::output(std::uint32_t level, const std::string& text) const
{
    return read(text, m_names.findOutput(level, text), "an output of level " + std::to_string(level));
}

TakeEntry AddressReader::takeEntry(const std::string& text, std::uint32_t lprId) const
{
    const std::string form = "LEVEL:INPUT:OUTPUT";
    const auto parts = splitAtColons(text, form, 3);
    try
    {
        const std::uint32_t number = level(parts[0]);
        return TakeEntry{
            .level = number, .lprId = lprId, .input = input(number, parts[1]), .output = output(number, parts[2])};
    }
    catch (const std::invalid_argument& problem)
    {
        throw std::invalid_argument(notOfForm(text, form) + ": " + problem.what());
    }
}

OutputAddress AddressReader::outputAddress(const std::string& text) const
{
    const std::string form = "LEVEL:OUTPUT";
    const auto parts = splitAtColons(text, form, 2);
    try
    {
        const std::uint32_t number = level(parts[0]);
        return OutputAddress{.level = number, .output = output(number, parts[1])};
    }
    catch (const std::invalid_argument& problem)
    {
        throw std::invalid_argument(notOfForm(text, form) + ": " + problem.what());
    }
}

} // namespace koractl
