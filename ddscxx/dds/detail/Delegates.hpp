#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/topic/BuiltinTopic.hpp"

#include <dds/dds.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace dds::detail
{

/// A participant of the DDS library. Thread-safe.
class ParticipantDelegate
{
public:
    explicit ParticipantDelegate(std::uint32_t domainId);

    dds_entity_t handle() const { return m_entity.handle(); }
    topic::BuiltinTopicKey key() const;
    /// The one that it is in, whatever was asked for.
    std::uint32_t domainId() const;
    /// When it began to come onto the bus.
    std::chrono::steady_clock::time_point started() const { return m_started; }

private:
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    const Entity m_entity;
};

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

/// A subscriber of the DDS library, and the participant that it needs to live.
class SubscriberDelegate
{
public:
    SubscriberDelegate(std::shared_ptr<ParticipantDelegate> participant, const sub::qos::SubscriberQos& qos);

    dds_entity_t handle() const { return m_entity.handle(); }
    const std::shared_ptr<ParticipantDelegate>& participant() const { return m_participant; }
    const sub::qos::SubscriberQos& qos() const { return m_qos; }

private:
    const std::shared_ptr<ParticipantDelegate> m_participant;
    const sub::qos::SubscriberQos m_qos;
    const Entity m_entity;
};

/// A topic of the DDS library, and the participant that it needs to live.
class TopicDelegate
{
public:
    /// Whether a sample, in its C form, of that writer is wanted. Called on threads of the DDS library, several at a
    /// time.
    using Filter = std::function<bool(const void*, core::InstanceHandle)>;

    /// The same name may be created again on a participant, with the same QoS only. `descriptor` is the type's, which
    /// lives as long as the process. A filter that is not empty is asked of each sample with data before a reader of
    /// this topic stores it.
    TopicDelegate(std::shared_ptr<ParticipantDelegate> participant, const dds_topic_descriptor_t& descriptor,
                  std::string name, const topic::qos::TopicQos& qos, Filter filter = nullptr);

    dds_entity_t handle() const { return m_entity.handle(); }
    const std::shared_ptr<ParticipantDelegate>& participant() const { return m_participant; }
    const dds_topic_descriptor_t& descriptor() const { return m_descriptor; }
    /// Bytes of one sample in its C form.
    std::size_t sampleSize() const { return m_descriptor.m_size; }
    const std::string& name() const { return m_name; }
    const topic::qos::TopicQos& qos() const { return m_qos; }
    const Filter& filter() const { return m_filter; }

private:
    const std::shared_ptr<ParticipantDelegate> m_participant;
    const std::string m_name;
    const topic::qos::TopicQos m_qos;
    const dds_topic_descriptor_t& m_descriptor;
    Filter m_filter; ///< stays where the library's filter finds it
    const Entity m_entity;
};

} // namespace dds::detail
