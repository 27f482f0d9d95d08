#pragma once

#include "dds/core/Reference.hpp"
#include "dds/core/Time.hpp"
#include "dds/sub/status/DataState.hpp"

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

} // namespace dds::sub
