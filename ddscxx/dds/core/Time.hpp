#pragma once

#include <cstdint>

namespace dds::core
{

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
