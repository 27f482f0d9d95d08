#pragma once

#include "dds/detail/Entity.hpp"

#include <chrono>
#include <cstdint>

namespace dds::detail
{

/// A participant of the DDS library. Thread-safe.
class ParticipantDelegate
{
public:
    explicit ParticipantDelegate(std::uint32_t domainId);

    dds_entity_t handle() const { return m_entity.handle(); }
    /// When it began to come onto the bus.
    std::chrono::steady_clock::time_point started() const { return m_started; }

private:
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    const Entity m_entity;
};

} // namespace dds::detail
