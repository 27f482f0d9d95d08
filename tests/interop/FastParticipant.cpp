#include "tests/interop/FastParticipant.h"

#include "tests/interop/FastLibrary.h"

#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include <stdexcept>

using namespace eprosima::fastdds::dds;
using fastlib::IPLocator;
using fastlib::Locator_t;

namespace
{

/// Discovery ports of the RTPS standard: base, per domain, unicast discovery offset, per participant.
constexpr int discoveryPort(int domainId, int participantIndex)
{
    return 7400 + 250 * domainId + 10 + 2 * participantIndex;
}

constexpr int lastParticipantIndex = 60;

DomainParticipantQos loopbackQos(int domainId)
{
    DomainParticipantQos qos = PARTICIPANT_QOS_DEFAULT;
    qos.name("fast_peer");

    auto transport = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
    transport->interfaceWhiteList.emplace_back("127.0.0.1");
    qos.transport().use_builtin_transports = false;
    qos.transport().user_transports.push_back(transport);

    // A unicast locator of our own keeps the implementation from adding its multicast one; port 0 means the standard
    // one.
    auto& builtin = qos.wire_protocol().builtin;
    Locator_t own;
    IPLocator::setIPv4(own, "127.0.0.1");
    own.port = 0;
    builtin.metatrafficUnicastLocatorList.push_back(own);
    // Peers may come at any time, and tests do not like to wait for them.
    builtin.discovery_config.leaseDuration_announcementperiod = fastlib::Duration_t(0.2);
    for (int index = 0; index <= lastParticipantIndex; ++index)
    {
        Locator_t peer;
        IPLocator::setIPv4(peer, "127.0.0.1");
        peer.port = static_cast<std::uint32_t>(discoveryPort(domainId, index));
        builtin.initialPeersList.push_back(peer);
    }
    return qos;
}

/// The history of every reader and writer; the implementation's own default stops at ten instances.
template <typename Qos>
void setLastSampleOfEveryInstance(Qos& qos)
{
    qos.reliability().kind = RELIABLE_RELIABILITY_QOS;
    qos.durability().kind = TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history().kind = KEEP_LAST_HISTORY_QOS;
    qos.history().depth = 1;
    qos.resource_limits().max_samples = 10000;
    qos.resource_limits().max_instances = 5000;
    qos.resource_limits().max_samples_per_instance = 1;
}

template <typename T>
T& created(T* entity, const std::string& what)
{
    if (entity == nullptr)
    {
        throw std::runtime_error("cannot create " + what);
    }
    return *entity;
}

} // namespace

FastParticipant::FastParticipant(int domainId)
    : m_participant(DomainParticipantFactory::get_instance()->create_participant(static_cast<DomainId_t>(domainId),
                                                                                 loopbackQos(domainId)))
{
    created(m_participant, "the participant");
}

FastParticipant::~FastParticipant()
{
    m_participant->delete_contained_entities();
    DomainParticipantFactory::get_instance()->delete_participant(m_participant);
}

DataWriter& FastParticipant::createWriter(const std::string& topicName, TypeSupport type, const std::string& partition)
{
    PublisherQos publisherQos = m_participant->get_default_publisher_qos();
    publisherQos.partition().push_back(partition.c_str());
    Publisher& publisher = created(m_participant->create_publisher(publisherQos), "a publisher");

    DataWriterQos qos = publisher.get_default_datawriter_qos();
    setLastSampleOfEveryInstance(qos);
    qos.writer_data_lifecycle().autodispose_unregistered_instances = false;
    return created(publisher.create_datawriter(&createTopic(topicName, type), qos), "the writer of " + topicName);
}

DataReader& FastParticipant::createReader(const std::string& topicName, TypeSupport type, const std::string& partition,
                                          DataReaderListener& listener)
{
    SubscriberQos subscriberQos = m_participant->get_default_subscriber_qos();
    subscriberQos.partition().push_back(partition.c_str());
    Subscriber& subscriber = created(m_participant->create_subscriber(subscriberQos), "a subscriber");

    DataReaderQos qos = subscriber.get_default_datareader_qos();
    setLastSampleOfEveryInstance(qos);
    return created(subscriber.create_datareader(&createTopic(topicName, type), qos, &listener),
                   "the reader of " + topicName);
}

Topic& FastParticipant::createTopic(const std::string& topicName, TypeSupport type)
{
    type.register_type(m_participant);
    TopicQos qos = m_participant->get_default_topic_qos();
    setLastSampleOfEveryInstance(qos);
    return created(m_participant->create_topic(topicName, type.get_type_name(), qos), "the topic " + topicName);
}
