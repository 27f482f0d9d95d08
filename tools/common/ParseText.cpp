#include "tools/common/ParseText.h"

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

NumberRange parseRange(const std::string& text)
{
    const std::string problem = "'" + text + "' is not a range such as 1-64 or 7";
    const std::size_t hyphen = text.find('-');
    try
    {
        const std::uint32_t first = parseNumber(text.substr(0, hyphen));
        const std::uint32_t last = hyphen == std::string::npos ? first : parseNumber(text.substr(hyphen + 1));
        if (first <= last)
        {
            return NumberRange{.first = first, .last = last};
        }
    }
    catch (const std::invalid_argument&)
    {
        throw std::invalid_argument(problem); // which says more
    }
    throw std::invalid_argument(problem);
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
