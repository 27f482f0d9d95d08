#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/detail/PublisherDelegate.hpp"
#include "dds/domain/DomainParticipant.hpp"

#include <memory>

namespace dds::pub
{

/// Groups writers under one set of partitions. A shared handle; thread-safe. Construction throws dds::core::Error
/// or one of its family.
class Publisher : public core::Reference<detail::PublisherDelegate>
{
public:
    using Reference::Reference;
    explicit Publisher(const domain::DomainParticipant& participant, const qos::PublisherQos& qos = {})
        : Reference(std::make_shared<detail::PublisherDelegate>(participant.delegate(), qos))
    {}
};

} // namespace dds::pub
