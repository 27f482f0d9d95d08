#include "runtime/util/VisibleText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace com::tallowcrest::util
{

namespace
{

constexpr bool isPrintable(char byte)
{
    return byte >= ' ' && byte <= '~';
}

constexpr std::uint32_t bits(char byte, std::uint32_t mask)
{
    return static_cast<unsigned char>(byte) & mask;
}

/// One form of a UTF-8 character: its first byte, how many bytes it has, and the least number that needs as many.
struct Form
{
    std::uint32_t mark;
    std::uint32_t valueBits;
    std::size_t length;
    std::uint32_t least;
};
constexpr std::array<Form, 3> forms{{{0xC0, 0x1F, 2, 0x80}, {0xE0, 0x0F, 3, 0x800}, {0xF0, 0x07, 4, 0x10000}}};

/// Characters that draw nothing, begin a line, or change the direction of what stands beside them; surrogates and what
/// is no character at all.
struct Range
{
    std::uint32_t first;
    std::uint32_t last;
};
constexpr std::array<Range, 12> notDrawn{{{0x80, 0x9F},
                                          {0xAD, 0xAD},
                                          {0x61C, 0x61C},
                                          {0x180E, 0x180E},
                                          {0x200B, 0x200F},
                                          {0x2028, 0x202E},
                                          {0x2060, 0x206F},
                                          {0xD800, 0xDFFF},
                                          {0xFEFF, 0xFEFF},
                                          {0xFFF0, 0xFFFB},
                                          {0xFFFE, 0xFFFF},
                                          {0xE0000, 0x1FFFFF}}};

/// Bytes of the drawn character beyond ASCII at the start of `text`; 0 when there is none.
std::size_t drawnLength(std::string_view text)
{
    for (const Form& form : forms)
    {
        if (bits(text.front(), ~form.valueBits & 0xFFU) != form.mark || text.size() < form.length)
        {
            continue;
        }
        std::uint32_t character = bits(text.front(), form.valueBits);
        for (const char byte : text.substr(1, form.length - 1))
        {
            if (bits(byte, 0xC0) != 0x80)
            {
                return 0;
            }
            character = character << 6U | bits(byte, 0x3F);
        }
        const bool isDrawn =
            character >= form.least && std::none_of(notDrawn.begin(), notDrawn.end(), [character](const Range& range) {
                return character >= range.first && character <= range.last;
            });
        return isDrawn ? form.length : 0;
    }
    return 0;
}

/// Bytes at the start of `text` that stay as they are; 0 when the first one does not.
std::size_t visibleLength(std::string_view text)
{
    return isPrintable(text.front()) ? 1 : drawnLength(text);
}

void appendWritten(std::string& visible, char byte)
{
    constexpr std::string_view digits = "0123456789abcdef";
    switch (byte)
    {
    case '\n':
        visible += "\\n";
        break;
    case '\r':
        visible += "\\r";
        break;
    case '\t':
        visible += "\\t";
        break;
    default:
        visible += "\\x";
        visible += digits[bits(byte, 0xF0) >> 4U];
        visible += digits[bits(byte, 0x0F)];
        break;
    }
}

} // namespace

std::string visibleText(std::string_view text)
{
    std::string visible;
    visible.reserve(text.size());
    while (!text.empty())
    {
        const std::size_t length = visibleLength(text);
        if (length > 0)
        {
            visible += text.substr(0, length);
        }
        else
        {
            appendWritten(visible, text.front());
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return visible;
}

bool isVisibleText(std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t length = visibleLength(text);
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

bool isPrintableAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), isPrintable);
}

} // namespace com::tallowcrest::util
