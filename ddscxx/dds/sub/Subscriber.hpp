#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/detail/SubscriberDelegate.hpp"
#include "dds/domain/DomainParticipant.hpp"

#include <memory>

namespace dds::sub
{

/// Groups readers under one set of partitions. A shared handle; thread-safe. Construction throws dds::core::Error
/// or one of its family.
class Subscriber : public core::Reference<detail::SubscriberDelegate>
{
public:
    using Reference::Reference;
    explicit Subscriber(const domain::DomainParticipant& participant, const qos::SubscriberQos& qos = {})
        : Reference(std::make_shared<detail::SubscriberDelegate>(participant.delegate(), qos))
    {}
};

} // namespace dds::sub
