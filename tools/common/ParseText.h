#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace koractl
{

/// Numbers from the first to the last one.
struct NumberRange
{
    std::uint32_t first = 0;
    std::uint32_t last = 0;

    bool contains(std::uint32_t number) const { return first <= number && number <= last; }
    bool operator==(const NumberRange&) const = default;
};

/// Readers of what the user types. Each throws std::invalid_argument with a sentence that names the text when it is not
/// of the wanted form.

/// Unsigned 32-bit, decimal or with 0x hexadecimal.
std::uint32_t parseNumber(const std::string& text);
/// A number with the unit ms, s or min; without a unit seconds. More than zero, at most a day.
std::chrono::milliseconds parseDuration(const std::string& text);
/// FIRST-LAST, or one number alone.
NumberRange parseRange(const std::string& text);
/// One hexadecimal word of up to eight digits, with or without 0x.
std::uint32_t parseHexWord(const std::string& text);
/// Pairs of hexadecimal digits; blanks and colons between pairs are skipped.
std::vector<std::uint8_t> parseHexBytes(const std::string& text);

} // namespace koractl
