#pragma once

#include <cstdint>

#include "dds/detail/Entity.hpp"

namespace dds::detail
{

/// A participant of the DDS library.
class ParticipantDelegate
{
public:
    explicit ParticipantDelegate(std::uint32_t domainId);

    dds_entity_t handle() const { return m_entity.handle(); }

private:
    const Entity m_entity;
};

} // namespace dds::detail
