#pragma once

#include <memory>
#include <string>

#include "dds/detail/Entity.hpp"
#include "dds/detail/ParticipantDelegate.hpp"
#include "dds/topic/qos/TopicQos.hpp"

namespace dds::detail
{

/// A topic of the DDS library, and the participant that it needs to live.
class TopicDelegate : public Entity
{
public:
    /// The same name may be created again on a participant, with the same QoS only.
    TopicDelegate(std::shared_ptr<ParticipantDelegate> participant, const dds_topic_descriptor_t& descriptor,
                  std::string name, const topic::qos::TopicQos& qos);

    const std::shared_ptr<ParticipantDelegate>& participant() const { return m_participant; }
    const std::string& name() const { return m_name; }
    const topic::qos::TopicQos& qos() const { return m_qos; }

private:
    const std::shared_ptr<ParticipantDelegate> m_participant;
    const std::string m_name;
    const topic::qos::TopicQos m_qos;
};

} // namespace dds::detail
