#include "dds/detail/Delegates.hpp"

#include "dds/detail/Discovery.hpp"
#include "dds/detail/NativeQos.hpp"

#include <exception>
#include <utility>

namespace dds::detail
{

namespace
{

dds_entity_t create(const ParticipantDelegate& participant, const dds_topic_descriptor_t& descriptor,
                    const std::string& name, const topic::qos::TopicQos& qos)
{
    const dds_entity_t topic =
        dds_create_topic(participant.handle(), &descriptor, name.c_str(), NativeQos(qos).get(), nullptr);
    return check(topic, "creating topic \"" + name + "\" of type " + descriptor.m_typename,
                 topic == DDS_RETCODE_INCONSISTENT_POLICY ? "the participant already has this topic with another QoS"
                                                          : "");
}

/// A sample that cannot be judged is not wanted: there is only C above, and whoever sent it may have meant that.
bool isWanted(const void* sample, const dds_sample_info_t* info, void* filter) noexcept
{
    try
    {
        return (*static_cast<const TopicDelegate::Filter*>(filter))(sample,
                                                                    core::InstanceHandle(info->publication_handle));
    }
    catch (const std::exception& error)
    {
        reportError("a topic's filter threw", error.what());
        return false;
    }
}

} // namespace

ParticipantDelegate::ParticipantDelegate(std::uint32_t domainId)
    : m_entity(check(dds_create_participant(domainId, nullptr, nullptr), "creating the DDS domain participant"))
{}

topic::BuiltinTopicKey ParticipantDelegate::key() const
{
    dds_guid_t guid{};
    check(dds_get_guid(handle(), &guid), "asking for the name of the DDS domain participant");
    return keyOf(guid);
}

std::uint32_t ParticipantDelegate::domainId() const
{
    dds_domainid_t id = 0;
    check(dds_get_domainid(handle(), &id), "asking for the domain of the DDS domain participant");
    return id;
}

PublisherDelegate::PublisherDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                     const pub::qos::PublisherQos& qos)
    : m_participant(std::move(participant)), m_qos(qos),
      m_entity(
          check(dds_create_publisher(m_participant->handle(), NativeQos(m_qos).get(), nullptr), "creating a publisher"))
{}

SubscriberDelegate::SubscriberDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                       const sub::qos::SubscriberQos& qos)
    : m_participant(std::move(participant)), m_qos(qos),
      m_entity(check(dds_create_subscriber(m_participant->handle(), NativeQos(m_qos).get(), nullptr),
                     "creating a subscriber"))
{}

TopicDelegate::TopicDelegate(std::shared_ptr<ParticipantDelegate> participant, const dds_topic_descriptor_t& descriptor,
                             std::string name, const topic::qos::TopicQos& qos, Filter filter)
    : m_participant(std::move(participant)), m_name(std::move(name)), m_qos(qos), m_descriptor(descriptor),
      m_filter(std::move(filter)), m_entity(create(*m_participant, m_descriptor, m_name, m_qos))
{
    if (m_filter)
    {
        dds_topic_filter native{};
        native.mode = DDS_TOPIC_FILTER_SAMPLE_SAMPLEINFO_ARG;
        native.f.sample_sampleinfo_arg = isWanted;
        native.arg = &m_filter;
        check(dds_set_topic_filter_extended(m_entity.handle(), &native), "filtering topic \"" + m_name + "\"");
    }
}

} // namespace dds::detail
