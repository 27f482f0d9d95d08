#pragma once

#include "dds/core/Reference.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/topic/BuiltinTopic.hpp"

#include <dds/dds.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace dds::detail
{

topic::BuiltinTopicKey keyOf(const dds_guid_t& guid);

/// The DDS library's calls for the endpoints that an endpoint has matched.
struct MatchedCalls
{
    dds_return_t (*handlesOf)(dds_entity_t, dds_instance_handle_t*, std::size_t);
    dds_builtintopic_endpoint_t* (*dataOf)(dds_entity_t, dds_instance_handle_t);
};
inline constexpr MatchedCalls matchedReaders{dds_get_matched_subscriptions, dds_get_matched_subscription_data};
inline constexpr MatchedCalls matchedWriters{dds_get_matched_publications, dds_get_matched_publication_data};

using EndpointVisitor = std::function<void(core::InstanceHandle, const dds_builtintopic_endpoint_t&)>;
/// Visits what is known of each endpoint that `entity` has matched; `call` says in a refusal what was asked.
void visitMatched(dds_entity_t entity, const MatchedCalls& calls, const std::string& call,
                  const EndpointVisitor& visit);
/// The same for one of them; nothing when it has gone.
void visitMatched(dds_entity_t entity, const MatchedCalls& calls, core::InstanceHandle handle,
                  const EndpointVisitor& visit);

/// Which of the topics that the DDS library writes by itself carries `Data`, and its C form there.
template <typename Data>
struct BuiltinTopic;
template <>
struct BuiltinTopic<topic::ParticipantBuiltinTopicData>
{
    static topic::ParticipantBuiltinTopicData fromNative(const void* native);
    static dds_entity_t handle() { return DDS_BUILTIN_TOPIC_DCPSPARTICIPANT; }
};
template <>
struct BuiltinTopic<topic::PublicationBuiltinTopicData>
{
    static topic::PublicationBuiltinTopicData fromNative(const void* native);
    static dds_entity_t handle() { return DDS_BUILTIN_TOPIC_DCPSPUBLICATION; }
};

/// A reader of such a topic, without its type.
class BuiltinReaderDelegate
{
public:
    /// Gets one sample, valid or not; the data is lent for the time of the call.
    using Visitor = std::function<void(const void* data, const dds_sample_info_t& info)>;

    BuiltinReaderDelegate(std::shared_ptr<ParticipantDelegate> participant, dds_entity_t topic);

    /// Visits every sample that is there and removes it from the reader.
    void take(const Visitor& visit);

private:
    const std::shared_ptr<ParticipantDelegate> m_participant;
    const Entity m_entity;
};

} // namespace dds::detail
