#include "bustypes/BoundedString.h"

namespace com::tallowcrest::dds_::routing
{

namespace
{

/// A UTF-8 character has one lead byte and at most three of these.
constexpr std::size_t maxContinuationBytes = 3;

bool isContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace

std::string_view cutToBound(std::string_view text, std::size_t bound)
{
    text = text.substr(0, text.find('\0'));
    if (text.size() <= bound)
    {
        return text;
    }
    std::size_t end = bound;
    while (end > 0 && bound - end < maxContinuationBytes && isContinuationByte(text[end]))
    {
        --end;
    }
    return text.substr(0, isContinuationByte(text[end]) ? bound : end);
}

} // namespace com::tallowcrest::dds_::routing
