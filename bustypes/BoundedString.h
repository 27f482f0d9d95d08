#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace com::tallowcrest::dds_::routing
{

/// Bounds of the strings that the bridge writes, in bytes without the terminator.
inline constexpr std::size_t componentNameBound = 32;
inline constexpr std::size_t componentDescriptionBound = 128;

/// The longest prefix of `text` that has at most `bound` bytes, ends before the first NUL, and does not end inside a
/// UTF-8 character. Text that is not UTF-8 is cut at `bound`.
std::string_view cutToBound(std::string_view text, std::size_t bound);

/// Copies `text`, cut to the bound of the array, into it; the rest of the array is zero.
template <std::size_t Size>
void copyToBus(const std::string& text, char (&target)[Size])
{
    const std::string_view cut = cutToBound(text, Size - 1);
    const std::size_t length = cut.copy(target, cut.size());
    for (std::size_t i = length; i < Size; ++i)
    {
        target[i] = '\0';
    }
}

/// The text of the array up to its terminator, or the whole array when it has none.
template <std::size_t Size>
std::string copyFromBus(const char (&source)[Size])
{
    const std::string_view all(source, Size);
    return std::string(all.substr(0, all.find('\0')));
}

} // namespace com::tallowcrest::dds_::routing
