#pragma once

#include <cstdint>

namespace dds::core
{

/// Names one instance of a topic, or one entity, within this process. Nil names none.
class InstanceHandle
{
public:
    constexpr InstanceHandle() = default;
    constexpr explicit InstanceHandle(std::uint64_t value) : m_value(value) {}

    constexpr bool is_nil() const { return m_value == 0; }
    constexpr std::uint64_t value() const { return m_value; }
    constexpr bool operator==(const InstanceHandle&) const = default;

private:
    std::uint64_t m_value = 0;
};

} // namespace dds::core
