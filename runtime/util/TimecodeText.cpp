#include "runtime/util/Timecode.h"

#include <cstdio>
#include <cstring>

namespace com::tallowcrest::util
{

namespace
{

constexpr const char* undefinedText = "**:**:**:**";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The two digits at `text[at]`, which must exist; false when they are none or above `max`.
bool parseTwoDigits(std::string_view text, std::size_t at, std::uint32_t max, std::uint32_t& value)
{
    if (!isDigit(text[at]) || !isDigit(text[at + 1]))
    {
        return false;
    }
    value = static_cast<std::uint32_t>((text[at] - '0') * 10 + (text[at + 1] - '0'));
    return value <= max;
}

/// Whether there is room; otherwise leaves the empty string where even that fits.
bool hasRoom(char* buffer, std::size_t size)
{
    if (size >= Timecode::textSize)
    {
        return true;
    }
    if (size > 0)
    {
        *buffer = '\0';
    }
    return false;
}

/// Writes the form without the field digit; false for an undefined timecode.
bool writeText(const Timecode& timecode, char* buffer, std::size_t size)
{
    if (timecode.isUndefined())
    {
        static_cast<void>(std::snprintf(buffer, size, "%s", undefinedText));
        return false;
    }
    const Timecode::TimeOfDay time = timecode.timeOfDay();
    const char frameSeparator = time.code == Timecode::Code::Fps2997Drop ? ';' : ':';
    static_cast<void>(std::snprintf(buffer, size, "%02d:%02d:%02d%c%02d", static_cast<int>(time.hours),
                                    static_cast<int>(time.minutes), static_cast<int>(time.seconds), frameSeparator,
                                    static_cast<int>(time.fieldInSecond / 2)));
    return true;
}

} // namespace

void Timecode::toString(char* buffer, std::size_t size) const
{
    if (hasRoom(buffer, size))
    {
        writeText(*this, buffer, size);
    }
}

void Timecode::toStringWithField(char* buffer, std::size_t size) const
{
    if (hasRoom(buffer, size) && writeText(*this, buffer, size))
    {
        const std::size_t end = std::strlen(buffer);
        static_cast<void>(
            std::snprintf(buffer + end, size - end, ".%1d", getFieldSense() == FieldSense::Field2 ? 1 : 0));
    }
}

Timecode Timecode::parse(std::string_view text, Code code)
{
    constexpr std::size_t length = std::string_view("HH:MM:SS:FF").size();
    constexpr std::size_t lengthWithField = std::string_view("HH:MM:SS:FF.f").size();
    if (text.size() != length && text.size() != lengthWithField)
    {
        return Timecode();
    }
    const std::uint32_t maxFrame = code == Code::Fps25 ? 24 : 29;
    TimeOfDay time;
    time.code = code;
    std::uint32_t frame = 0;
    if (!parseTwoDigits(text, 0, 23, time.hours) || text[2] != ':' || !parseTwoDigits(text, 3, 59, time.minutes) ||
        text[5] != ':' || !parseTwoDigits(text, 6, 59, time.seconds) || (text[8] != ':' && text[8] != ';') ||
        !parseTwoDigits(text, 9, maxFrame, frame))
    {
        return Timecode();
    }
    time.fieldInSecond = frame * 2;
    if (text.size() == lengthWithField)
    {
        if (text[11] != '.' || (text[12] != '0' && text[12] != '1'))
        {
            return Timecode();
        }
        time.fieldInSecond += static_cast<std::uint32_t>(text[12] - '0');
    }
    return Timecode(time);
}

} // namespace com::tallowcrest::util
