#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"
#include "dds/domain/DomainParticipant.hpp"

#include <string>

/// The QoS that every process of the router agrees on; all else is the participant's default.
namespace com::tallowcrest::routing
{

/// Every topic is RELIABLE with 100 ms max blocking time; topics differ in their durability only.
dds::topic::qos::TopicQos busTopicQos(const dds::domain::DomainParticipant& participant,
                                      dds::core::policy::DurabilityKind durability);

/// One partition: the bus's prefix and the router partition.
dds::sub::qos::SubscriberQos busSubscriberQos(const dds::domain::DomainParticipant& participant,
                                              const std::string& routerPartition);
dds::pub::qos::PublisherQos busPublisherQos(const dds::domain::DomainParticipant& participant,
                                            const std::string& routerPartition);

/// The topic's QoS; unregistering an instance does not dispose it.
dds::pub::qos::DataWriterQos busWriterQos(const dds::topic::qos::TopicQos& topic);

/// What a durable or not durable crosspoint topic offers: TRANSIENT is skipped on purpose.
constexpr dds::core::policy::DurabilityKind durabilityKind(bool durable)
{
    return durable ? dds::core::policy::DurabilityKind::PERSISTENT : dds::core::policy::DurabilityKind::TRANSIENT_LOCAL;
}

} // namespace com::tallowcrest::routing
