#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace com::tallowcrest::util
{

/// A time of day counted in video fields (two a frame) with a frame-rate code, packed into one 32-bit word: bits 0 to
/// 23 fields since midnight, bits 24 to 26 the code, the rest zero. A plain value. Operations that need a defined
/// timecode assert it; a build without assertions answers zeros. A word from the bus may hold more fields than a day
/// has: such a count is kept, compared and printed as it is.
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

    /// The first or the second field of a frame.
    enum class FieldSense
    {
        Field1,
        Field2
    };

    /// A timecode taken apart. `fieldInSecond` counts fields, not frames: 0 to 49 or 0 to 59.
    struct TimeOfDay
    {
        std::uint32_t hours = 0;
        std::uint32_t minutes = 0;
        std::uint32_t seconds = 0;
        std::uint32_t fieldInSecond = 0;
        Code code = Code::Undefined;

        bool operator==(const TimeOfDay&) const = default;
    };

    /// Length of the buffer that every text form fits in, terminating zero included.
    static constexpr std::size_t textSize = 14;

    Timecode() = default;
    /// Takes a packed word; bits 27 to 31 are dropped.
    explicit Timecode(std::uint32_t word);
    /// Puts a time together, wrapped into one day. A drop-frame time that does not exist (frames 0 and 1 of a minute
    /// that drops them) becomes the first field of its minute. An undefined code gives an undefined timecode.
    explicit Timecode(const TimeOfDay& time);
    /// Reads "HH:MM:SS:FF", "HH:MM:SS;FF" or either with ".f" (field 0 or 1) behind it; two digits each, every number
    /// within its range for `code`. Any other text gives an undefined timecode.
    static Timecode parse(std::string_view text, Code code);

    virtual ~Timecode() = default;
    Timecode(const Timecode&) = default;
    Timecode& operator=(const Timecode&) = default;

    /// The packed word, as it travels on the bus.
    std::uint32_t word() const { return m_word; }
    /// Whether the code is 0 or one without a frame rate (4 to 7).
    bool isUndefined() const;
    /// The frame-rate code; `Undefined` for codes without a frame rate.
    Code getFPS() const;
    /// Fields since midnight.
    std::uint32_t fields() const { return m_word & fieldMask; }
    FieldSense getFieldSense() const;
    TimeOfDay timeOfDay() const;

    // Both operands must be defined and have the same code; the field counts are compared.
    bool operator==(const Timecode& tc) const;
    bool operator!=(const Timecode& tc) const;
    bool operator<(const Timecode& tc) const;
    bool operator>(const Timecode& tc) const;

    /// Moves by fields, forwards or backwards, wrapping at midnight.
    Timecode& operator+=(int fields);
    Timecode& operator-=(int fields);

    /// `to` minus `from` in fields, negative when `to` is the earlier one of the day.
    static int signedFieldDifference(const Timecode& from, const Timecode& to);
    /// Fields from `from` forward to `to`, across midnight when `to` is the earlier one: 0 to a day less one field.
    static int numFieldsClockwise(const Timecode& from, const Timecode& to);
    /// The same in whole frames.
    static int numFramesClockwise(const Timecode& from, const Timecode& to);

    /// "HH:MM:SS:FF" (drop-frame "HH:MM:SS;FF", undefined "**:**:**:**"); an empty string when `size` is below 14.
    void toString(char* buffer, std::size_t size) const;
    /// The same with ".f" behind it, the field of the frame (0 or 1); undefined as above.
    void toStringWithField(char* buffer, std::size_t size) const;

private:
    static constexpr std::uint32_t fieldMask = 0x00ffffff;
    static constexpr std::uint32_t codeMask = 0x07000000;
    static constexpr unsigned int codeShift = 24;

    static std::int64_t fieldsPerDay(Code code);
    /// Brings any count into one day of `code`; 0 where there is no day.
    static std::uint32_t wrapIntoDay(std::int64_t fields, Code code);
    void moveBy(std::int64_t fields);

    std::uint32_t m_word = 0;
};

} // namespace com::tallowcrest::util
