#include "tools/koractl/ParseText.h"

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace koractl
{
namespace
{

/// The whole of `digits` as an unsigned 32-bit number; false when it is not one.
bool readNumber(std::string_view digits, int base, std::uint32_t& value)
{
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    return error == std::errc() && stop == end;
}

bool hasHexPrefix(std::string_view text)
{
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::vector<std::string> splitAtColons(const std::string& text)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;)
    {
        const std::size_t colon = text.find(':', start);
        parts.push_back(text.substr(start, colon - start));
        if (colon == std::string::npos)
        {
            return parts;
        }
        start = colon + 1;
    }
}

std::vector<std::uint32_t> readNumbers(const std::string& text, const std::string& form, std::size_t wanted)
{
    const std::vector<std::string> parts = splitAtColons(text);
    if (parts.size() != wanted)
    {
        throw std::invalid_argument("'" + text + "' is not of the form " + form);
    }
    std::vector<std::uint32_t> numbers;
    for (const std::string& part : parts)
    {
        try
        {
            numbers.push_back(parseNumber(part));
        }
        catch (const std::invalid_argument& problem)
        {
            std::string complaint = "'" + text;
            complaint.append("' is not of the form ").append(form).append(": ").append(problem.what());
            throw std::invalid_argument(complaint);
        }
    }
    return numbers;
}

} // namespace

std::uint32_t parseNumber(const std::string& text)
{
    std::uint32_t value = 0;
    const bool hex = hasHexPrefix(text);
    if (!readNumber(hex ? std::string_view(text).substr(2) : std::string_view(text), hex ? 16 : 10, value))
    {
        throw std::invalid_argument("'" + text + "' is not a number from 0 to 4294967295");
    }
    return value;
}

std::chrono::milliseconds parseDuration(const std::string& text)
{
    const std::string problem =
        "'" + text + "' is not a duration such as 500ms, 2s or 1min (more than 0, at most a day)";
    double amount = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, amount);
    if (error != std::errc() || !std::isfinite(amount))
    {
        throw std::invalid_argument(problem);
    }
    const std::string_view unit(stop, static_cast<std::size_t>(end - stop));
    double milliseconds = 0;
    if (unit == "ms")
    {
        milliseconds = amount;
    }
    else if (unit == "s" || unit.empty())
    {
        milliseconds = amount * 1000;
    }
    else if (unit == "min")
    {
        milliseconds = amount * 60'000;
    }
    else
    {
        throw std::invalid_argument(problem);
    }
    if (!(milliseconds >= 1) || milliseconds > 86'400'000)
    {
        throw std::invalid_argument(problem);
    }
    return std::chrono::milliseconds(std::llround(milliseconds));
}

TakeEntry parseTakeEntry(const std::string& text, std::uint32_t lprId)
{
    const auto numbers = readNumbers(text, "LEVEL:INPUT:OUTPUT", 3);
    return TakeEntry{.level = numbers[0], .lprId = lprId, .input = numbers[1], .output = numbers[2]};
}

OutputAddress parseOutputAddress(const std::string& text)
{
    const auto numbers = readNumbers(text, "LEVEL:OUTPUT", 2);
    return OutputAddress{.level = numbers[0], .output = numbers[1]};
}

std::uint32_t parseHexWord(const std::string& text)
{
    const std::string_view digits = hasHexPrefix(text) ? std::string_view(text).substr(2) : std::string_view(text);
    std::uint32_t value = 0;
    if (!readNumber(digits, 16, value))
    {
        throw std::invalid_argument("'" + text + "' is not a hexadecimal word of up to 8 digits");
    }
    return value;
}

std::vector<std::uint8_t> parseHexBytes(const std::string& text)
{
    std::vector<std::uint8_t> bytes;
    std::size_t at = 0;
    while (at < text.size())
    {
        if (text[at] == ' ' || text[at] == ':')
        {
            ++at;
            continue;
        }
        std::uint32_t value = 0;
        if (at + 2 > text.size() || !readNumber(std::string_view(text).substr(at, 2), 16, value))
        {
            throw std::invalid_argument("'" + text + "' is not a row of hexadecimal bytes");
        }
        bytes.push_back(static_cast<std::uint8_t>(value));
        at += 2;
    }
    return bytes;
}

} // namespace koractl
