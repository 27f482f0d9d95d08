#pragma once

#include "dds/core/Reference.hpp"
#include "dds/core/Time.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

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

namespace dds::sub
{

/// What came with a sample.
class SampleInfo
{
public:
    constexpr SampleInfo(bool valid, status::DataState state, core::Time timestamp, core::InstanceHandle instance,
                         core::InstanceHandle publication)
        : m_valid(valid), m_state(state), m_timestamp(timestamp), m_instance(instance), m_publication(publication)
    {}

    /// False when only the instance's state changed: then the sample holds its key fields and nothing else.
    constexpr bool valid() const { return m_valid; }
    constexpr const status::DataState& state() const { return m_state; }
    /// When the writer wrote it, by the writer's clock.
    constexpr core::Time timestamp() const { return m_timestamp; }
    constexpr core::InstanceHandle instance_handle() const { return m_instance; }
    constexpr core::InstanceHandle publication_handle() const { return m_publication; }

private:
    bool m_valid;
    status::DataState m_state;
    core::Time m_timestamp;
    core::InstanceHandle m_instance;
    core::InstanceHandle m_publication;
};

/// A value as it came from the bus, and what came with it.
template <typename T>
class Sample
{
public:
    Sample(T data, const SampleInfo& info) : m_data(std::move(data)), m_info(info) {}

    const T& data() const { return m_data; }
    const SampleInfo& info() const { return m_info; }

private:
    T m_data;
    SampleInfo m_info;
};

/// The samples of one take or read, in the order in which the reader gave them. A plain value: what the DDS library
/// lent has been copied and given back.
template <typename T>
class LoanedSamples
{
public:
    using const_iterator = typename std::vector<Sample<T>>::const_iterator;

    LoanedSamples() = default;
    explicit LoanedSamples(std::vector<Sample<T>> samples) : m_samples(std::move(samples)) {}

    const_iterator begin() const { return m_samples.begin(); }
    const_iterator end() const { return m_samples.end(); }
    std::size_t length() const { return m_samples.size(); }
    const Sample<T>& operator[](std::size_t index) const { return m_samples[index]; }

private:
    std::vector<Sample<T>> m_samples;
};

} // namespace dds::sub
