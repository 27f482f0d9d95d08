#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace koraclient
{

/// 0x and eight digits.
inline std::string hexText(std::uint32_t value)
{
    char text[11];
    (void)std::snprintf(text, sizeof text, "0x%08x", value);
    return text;
}

} // namespace koraclient
