#include "runtime/util/Timecode.h"

#include <cassert>

namespace com::tallowcrest::util
{

namespace
{

constexpr std::uint32_t secondsPerMinute = 60;
constexpr std::uint32_t minutesPerHour = 60;
constexpr std::uint32_t hoursPerDay = 24;
constexpr std::uint32_t secondsPerHour = secondsPerMinute * minutesPerHour;

// Drop-frame leaves out the numbers of four fields in every minute but each tenth one.
constexpr std::uint32_t dropFieldsPerMinute = 3596;
constexpr std::uint32_t dropFieldsPerTenMinutes = 35964;
constexpr std::uint32_t dropFieldsPerHour = 215784;
constexpr std::uint32_t droppedFields = 4;

/// The range of the field number within a second; 0 for no frame rate.
std::uint32_t fieldNumbersPerSecond(Timecode::Code code)
{
    switch (code)
    {
    case Timecode::Code::Fps25:
        return 50;
    case Timecode::Code::Fps2997Drop:
    case Timecode::Code::Fps30:
        return 60;
    case Timecode::Code::Undefined:
        break;
    }
    return 0;
}

/// Whether the field number does not exist in this minute of drop-frame.
bool isDropped(const Timecode::TimeOfDay& time)
{
    return time.code == Timecode::Code::Fps2997Drop && time.minutes % 10 != 0 && time.seconds == 0 &&
           time.fieldInSecond < droppedFields;
}

Timecode::TimeOfDay dropFrameTime(std::uint32_t fields)
{
    Timecode::TimeOfDay time;
    time.code = Timecode::Code::Fps2997Drop;
    time.hours = fields / dropFieldsPerHour;
    const std::uint32_t tens = fields / dropFieldsPerTenMinutes;
    const std::uint32_t rest = fields - tens * dropFieldsPerTenMinutes;
    time.minutes = (tens - time.hours * 6) * 10;
    std::uint32_t inMinute = rest % dropFieldsPerMinute;
    if (rest > droppedFields)
    {
        time.minutes += (rest - droppedFields) / dropFieldsPerMinute;
        inMinute = (rest - droppedFields) % dropFieldsPerMinute + droppedFields;
    }
    time.seconds = inMinute / fieldNumbersPerSecond(time.code);
    time.fieldInSecond = inMinute % fieldNumbersPerSecond(time.code);
    return time;
}

} // namespace

Timecode::Timecode(std::uint32_t word) : m_word(word & (fieldMask | codeMask)) {}

Timecode::Timecode(const TimeOfDay& time)
{
    const std::int64_t perSecond = fieldNumbersPerSecond(time.code);
    if (perSecond == 0)
    {
        return;
    }
    const std::int64_t fieldInSecond = isDropped(time) ? droppedFields : time.fieldInSecond;
    std::int64_t fields = 0;
    if (time.code == Code::Fps2997Drop)
    {
        fields = std::int64_t{time.hours} * dropFieldsPerHour +
                 std::int64_t{time.minutes / 10} * dropFieldsPerTenMinutes +
                 std::int64_t{time.minutes % 10} * dropFieldsPerMinute + time.seconds * perSecond + fieldInSecond;
    }
    else
    {
        fields =
            (std::int64_t{time.hours} * secondsPerHour + std::int64_t{time.minutes} * secondsPerMinute + time.seconds) *
                perSecond +
            fieldInSecond;
    }
    m_word = (static_cast<std::uint32_t>(time.code) << codeShift) | wrapIntoDay(fields, time.code);
}

bool Timecode::isUndefined() const
{
    return getFPS() == Code::Undefined;
}

Timecode::Code Timecode::getFPS() const
{
    const std::uint32_t code = (m_word & codeMask) >> codeShift;
    return code <= static_cast<std::uint32_t>(Code::Fps30) ? static_cast<Code>(code) : Code::Undefined;
}

Timecode::FieldSense Timecode::getFieldSense() const
{
    assert(!isUndefined());
    return fields() % 2 != 0 ? FieldSense::Field2 : FieldSense::Field1;
}

Timecode::TimeOfDay Timecode::timeOfDay() const
{
    assert(!isUndefined());
    const Code code = getFPS();
    if (code == Code::Undefined)
    {
        return {};
    }
    if (code == Code::Fps2997Drop)
    {
        return dropFrameTime(fields());
    }
    const std::uint32_t perSecond = fieldNumbersPerSecond(code);
    const std::uint32_t seconds = fields() / perSecond;
    return {.hours = seconds / secondsPerHour,
            .minutes = seconds / secondsPerMinute % minutesPerHour,
            .seconds = seconds % secondsPerMinute,
            .fieldInSecond = fields() % perSecond,
            .code = code};
}

bool Timecode::operator==(const Timecode& tc) const
{
    assert(!isUndefined());
    assert(getFPS() == tc.getFPS());
    return fields() == tc.fields();
}

bool Timecode::operator!=(const Timecode& tc) const
{
    return !(*this == tc);
}

bool Timecode::operator<(const Timecode& tc) const
{
    assert(!isUndefined());
    assert(getFPS() == tc.getFPS());
    return fields() < tc.fields();
}

bool Timecode::operator>(const Timecode& tc) const
{
    return tc < *this;
}

Timecode& Timecode::operator+=(int fields)
{
    assert(!isUndefined());
    moveBy(fields);
    return *this;
}

Timecode& Timecode::operator-=(int fields)
{
    assert(!isUndefined());
    moveBy(-std::int64_t{fields});
    return *this;
}

int Timecode::signedFieldDifference(const Timecode& from, const Timecode& to)
{
    assert(!from.isUndefined());
    assert(!to.isUndefined());
    return static_cast<int>(to.fields()) - static_cast<int>(from.fields());
}

int Timecode::numFieldsClockwise(const Timecode& from, const Timecode& to)
{
    assert(!from.isUndefined());
    assert(!to.isUndefined());
    return static_cast<int>(wrapIntoDay(std::int64_t{to.fields()} - from.fields(), from.getFPS()));
}

int Timecode::numFramesClockwise(const Timecode& from, const Timecode& to)
{
    return numFieldsClockwise(from, to) / 2;
}

std::int64_t Timecode::fieldsPerDay(Code code)
{
    if (code == Code::Fps2997Drop)
    {
        return std::int64_t{dropFieldsPerHour} * hoursPerDay;
    }
    return std::int64_t{fieldNumbersPerSecond(code)} * secondsPerHour * hoursPerDay;
}

std::uint32_t Timecode::wrapIntoDay(std::int64_t fields, Code code)
{
    const std::int64_t day = fieldsPerDay(code);
    if (day == 0)
    {
        return 0;
    }
    const std::int64_t rest = fields % day;
    return static_cast<std::uint32_t>(rest < 0 ? rest + day : rest);
}

void Timecode::moveBy(std::int64_t fields)
{
    m_word = (m_word & codeMask) | wrapIntoDay(fields + this->fields(), getFPS());
}

} // namespace com::tallowcrest::util
