#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/ParticipantDelegate.hpp"

#include <memory>

namespace dds::detail
{

/// A publisher of the DDS library, and the participant that it needs to live.
class PublisherDelegate
{
public:
    PublisherDelegate(std::shared_ptr<ParticipantDelegate> participant, const pub::qos::PublisherQos& qos);

    dds_entity_t handle() const { return m_entity.handle(); }
    const std::shared_ptr<ParticipantDelegate>& participant() const { return m_participant; }
    const pub::qos::PublisherQos& qos() const { return m_qos; }

private:
    const std::shared_ptr<ParticipantDelegate> m_participant;
    const pub::qos::PublisherQos m_qos;
    const Entity m_entity;
};

} // namespace dds::detail
