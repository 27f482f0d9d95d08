#pragma once

#include <cstddef>
#include <cstdint>

namespace com::tallowcrest::util
{

/// A time of day counted in video fields (two a frame) with a frame-rate code, packed into one 32-bit word: bits 0 to 23
/// fields since midnight, bits 24 to 26 the code, the rest zero. A plain value; asserts where an operand must be defined.
class Timecode
{
public:
    /// Frame-rate codes; the fields per second are 50, 59.94 (drop-frame) and 60.
    enum class Code : std::uint32_t
    {
        Undefined = 0,
        Fps25 = 1,
        Fps2997Drop = 2,
        Fps30 = 3
    };

    Timecode() = default;
    /// Takes a packed word; bits 27 to 31 are dropped.
    explicit Timecode(std::uint32_t word);
    virtual ~Timecode() = default;
    Timecode(const Timecode&) = default;
    Timecode& operator=(const Timecode&) = default;

    /// The packed word, as it travels on the bus.
    std::uint32_t word() const { return m_word; }
    bool isUndefined() const;

    /// "HH:MM:SS:FF" (drop-frame "HH:MM:SS;FF", undefined "**:**:**:**"); an empty string when `size` is below 14.
    void toString(char* buffer, std::size_t size) const;

private:
    std::uint32_t m_word = 0;
};

} // namespace com::tallowcrest::util
