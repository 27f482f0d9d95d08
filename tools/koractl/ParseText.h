#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/koractl/KoraTypes.h"

namespace koractl
{

/// An output of a level, as the user writes it.
struct OutputAddress
{
    std::uint32_t level = 0;
    std::uint32_t output = 0;

    bool operator==(const OutputAddress&) const = default;
};

/// Readers of what the user types. Each throws std::invalid_argument with a sentence that names the text when it is not
/// of the wanted form.

/// Unsigned 32-bit, decimal or with 0x hexadecimal.
std::uint32_t parseNumber(const std::string& text);
/// A number with the unit ms, s or min; without a unit seconds. More than zero, at most a day.
std::chrono::milliseconds parseDuration(const std::string& text);
/// LEVEL:INPUT:OUTPUT.
TakeEntry parseTakeEntry(const std::string& text, std::uint32_t lprId);
/// LEVEL:OUTPUT.
OutputAddress parseOutputAddress(const std::string& text);
/// One hexadecimal word of up to eight digits, with or without 0x.
std::uint32_t parseHexWord(const std::string& text);
/// Pairs of hexadecimal digits; blanks and colons between pairs are skipped.
std::vector<std::uint8_t> parseHexBytes(const std::string& text);

} // namespace koractl
