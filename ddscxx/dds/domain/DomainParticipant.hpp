#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/core/Time.hpp"
#include "dds/detail/Delegates.hpp"

#include <cstdint>
#include <memory>

namespace dds::domain
{

/// The domain that the deployment's configuration names.
constexpr std::uint32_t default_id()
{
    return DDS_DOMAIN_DEFAULT;
}

/// The machine's clock, as samples carry it, for who has no participant. An addition to the standard.
inline core::Time current_time()
{
    return core::Time(dds_time());
}

/// A member of the bus; everything else is made from one. A shared handle; the entity goes when the last handle and the
/// last entity made from it are gone. Thread-safe. Construction throws dds::core::Error or one of its family.
class DomainParticipant : public core::Reference<detail::ParticipantDelegate>
{
public:
    using Reference::Reference;
    explicit DomainParticipant(std::uint32_t domainId)
        : Reference(std::make_shared<detail::ParticipantDelegate>(domainId))
    {}

    std::uint32_t domain_id() const { return delegate()->domainId(); }

    /// The machine's clock, as samples carry it.
    core::Time current_time() const { return domain::current_time(); }

    /// Its name on the whole bus. An addition to the standard.
    topic::BuiltinTopicKey key() const { return delegate()->key(); }

    topic::qos::TopicQos default_topic_qos() const { return {}; }
    pub::qos::PublisherQos default_publisher_qos() const { return {}; }
    sub::qos::SubscriberQos default_subscriber_qos() const { return {}; }
};

} // namespace dds::domain
