#pragma once

#include "dds/core/policy/CorePolicy.hpp"

#include <tuple>

namespace dds::core
{

/// The QoS of one kind of entity: one value of each policy that the kind has. `Self` is the QoS class itself.
template <typename Self, typename... Policies>
class EntityQos
{
public:
    template <typename Policy>
    Self& policy(const Policy& value)
    {
        std::get<Policy>(m_policies) = value;
        return static_cast<Self&>(*this);
    }
    template <typename Policy>
    const Policy& policy() const
    {
        return std::get<Policy>(m_policies);
    }
    template <typename Policy>
    Self& operator<<(const Policy& value)
    {
        return policy(value);
    }

    const std::tuple<Policies...>& policies() const { return m_policies; }
    bool operator==(const EntityQos&) const = default;

private:
    std::tuple<Policies...> m_policies;
};

} // namespace dds::core

namespace dds::topic::qos
{

class TopicQos : public core::EntityQos<TopicQos, core::policy::Durability, core::policy::Reliability>
{};

} // namespace dds::topic::qos

namespace dds::pub::qos
{

class PublisherQos : public core::EntityQos<PublisherQos, core::policy::Partition>
{};

class DataWriterQos : public core::EntityQos<DataWriterQos, core::policy::Durability, core::policy::Reliability,
                                             core::policy::History, core::policy::WriterDataLifecycle>
{
public:
    /// The standard's defaults: as a topic's, but RELIABLE.
    DataWriterQos() { policy(core::policy::Reliability::Reliable()); }
    /// A writer's QoS made from its topic's.
    DataWriterQos(const topic::qos::TopicQos& topic)
    {
        policy(topic.policy<core::policy::Durability>());
        policy(topic.policy<core::policy::Reliability>());
    }
};

} // namespace dds::pub::qos

namespace dds::sub::qos
{

class SubscriberQos : public core::EntityQos<SubscriberQos, core::policy::Partition>
{};

class DataReaderQos : public core::EntityQos<DataReaderQos, core::policy::Durability, core::policy::Reliability,
                                             core::policy::History, core::policy::UserData, core::policy::IgnoreLocal>
{
public:
    DataReaderQos() = default;
    /// A reader's QoS made from its topic's.
    DataReaderQos(const topic::qos::TopicQos& topic)
    {
        policy(topic.policy<core::policy::Durability>());
        policy(topic.policy<core::policy::Reliability>());
    }
};

} // namespace dds::sub::qos
