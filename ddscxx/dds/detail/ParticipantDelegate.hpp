#pragma once

#include "dds/detail/Entity.hpp"
#include "durability/DurabilityService.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

namespace dds::detail
{

/// A participant of the DDS library, and the keeping of PERSISTENT data, which begins when somebody first needs it.
/// Thread-safe.
class ParticipantDelegate
{
public:
    explicit ParticipantDelegate(std::uint32_t domainId);

    dds_entity_t handle() const { return m_entity.handle(); }
    /// Begins to keep data when nobody has asked before. Throws dds::core::Error.
    com::tallowcrest::durability::DurabilityService& durability();

private:
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    const Entity m_entity;
    std::mutex m_mutex; ///< guards the making of the service
    /// Goes before the participant that it uses.
    std::unique_ptr<com::tallowcrest::durability::DurabilityService> m_durability;
};

} // namespace dds::detail
