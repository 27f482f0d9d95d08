#include "buswrappers/BusQos.h"

#include "bustypes/TopicNames.h"

#include <chrono>

namespace com::tallowcrest::routing
{

namespace
{

constexpr std::chrono::milliseconds maxBlockingTime{100};

} // namespace

dds::topic::qos::TopicQos busTopicQos(const dds::domain::DomainParticipant& participant,
                                      dds::core::policy::DurabilityKind durability)
{
    dds::topic::qos::TopicQos qos = participant.default_topic_qos();
    qos << dds::core::policy::Durability(durability) << dds::core::policy::Reliability::Reliable(maxBlockingTime);
    return qos;
}

dds::sub::qos::SubscriberQos busSubscriberQos(const dds::domain::DomainParticipant& participant,
                                              const std::string& routerPartition)
{
    dds::sub::qos::SubscriberQos qos = participant.default_subscriber_qos();
    qos << dds::core::policy::Partition(partitionName(routerPartition));
    return qos;
}

dds::pub::qos::PublisherQos busPublisherQos(const dds::domain::DomainParticipant& participant,
                                            const std::string& routerPartition)
{
    dds::pub::qos::PublisherQos qos = participant.default_publisher_qos();
    qos << dds::core::policy::Partition(partitionName(routerPartition));
    return qos;
}

dds::pub::qos::DataWriterQos busWriterQos(const dds::topic::qos::TopicQos& topic)
{
    dds::pub::qos::DataWriterQos qos = topic;
    qos << dds::core::policy::WriterDataLifecycle::ManuallyDisposeUnregisteredInstances();
    return qos;
}

} // namespace com::tallowcrest::routing
