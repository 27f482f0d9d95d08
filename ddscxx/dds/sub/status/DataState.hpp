#pragma once

#include <cstdint>

namespace dds::sub::status
{

/// Whether a sample was read before.
enum class SampleState : std::uint32_t
{
    Read = 1,
    NotRead = 2
};

/// Whether the reader saw the instance before.
enum class ViewState : std::uint32_t
{
    NewView = 4,
    NotNewView = 8
};

/// What became of the instance.
enum class InstanceState : std::uint32_t
{
    Alive = 16,
    NotAliveDisposed = 32,
    NotAliveNoWriters = 64
};

/// The three states that come with a sample.
class DataState
{
public:
    constexpr DataState(SampleState sample, ViewState view, InstanceState instance)
        : m_sample(sample), m_view(view), m_instance(instance)
    {}

    constexpr SampleState sample_state() const { return m_sample; }
    constexpr ViewState view_state() const { return m_view; }
    constexpr InstanceState instance_state() const { return m_instance; }
    constexpr bool operator==(const DataState&) const = default;

private:
    SampleState m_sample;
    ViewState m_view;
    InstanceState m_instance;
};

} // namespace dds::sub::status
