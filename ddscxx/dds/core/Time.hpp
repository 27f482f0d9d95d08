#pragma once

#include <chrono>
#include <cstdint>

namespace dds::core
{

/// A span of time in nanoseconds.
class Duration
{
public:
    constexpr Duration() = default;
    template <typename Rep, typename Period>
    constexpr Duration(std::chrono::duration<Rep, Period> span)
        : m_nanoseconds(std::chrono::duration_cast<std::chrono::nanoseconds>(span).count())
    {}

    static constexpr Duration from_secs(std::int64_t seconds) { return Duration(std::chrono::seconds(seconds)); }
    static constexpr Duration from_millisecs(std::int64_t millisecs)
    {
        return Duration(std::chrono::milliseconds(millisecs));
    }

    constexpr std::chrono::nanoseconds to_chrono() const { return std::chrono::nanoseconds(m_nanoseconds); }
    constexpr bool operator==(const Duration&) const = default;

private:
    std::int64_t m_nanoseconds = 0;
};

/// A point in time: nanoseconds since 1970 (UTC), as samples carry it.
class Time
{
public:
    constexpr Time() = default;
    constexpr explicit Time(std::int64_t nanosecondsSinceEpoch) : m_nanoseconds(nanosecondsSinceEpoch) {}

    constexpr std::int64_t to_nanoseconds() const { return m_nanoseconds; }
    constexpr bool operator==(const Time&) const = default;

private:
    std::int64_t m_nanoseconds = 0;
};

} // namespace dds::core
