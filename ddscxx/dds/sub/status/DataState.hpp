#pragma once

#include <cstdint>

namespace dds::sub::status
{

/// What became of the instance.
enum class InstanceState : std::uint32_t
{
    Alive = 16,
    NotAliveDisposed = 32,
    NotAliveNoWriters = 64
};

/// The state that comes with a sample; of the standard's three the one that somebody looks at.
class DataState
{
public:
    constexpr explicit DataState(InstanceState instance) : m_instance(instance) {}

    constexpr InstanceState instance_state() const { return m_instance; }

private:
    InstanceState m_instance;
};

} // namespace dds::sub::status
