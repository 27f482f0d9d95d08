#include "dds/detail/Discovery.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace dds::detail
{

topic::BuiltinTopicKey keyOf(const dds_guid_t& guid)
{
    topic::BuiltinTopicKey key{};
    static_assert(sizeof(guid.v) == sizeof(key));
    std::copy(std::begin(guid.v), std::end(guid.v), key.begin());
    return key;
}

void visitMatched(dds_entity_t entity, const MatchedCalls& calls, const std::string& call, const EndpointVisitor& visit)
{
    std::vector<dds_instance_handle_t> handles;
    const auto get = [&] {
        return static_cast<std::size_t>(check(calls.handlesOf(entity, handles.data(), handles.size()), call));
    };
    handles.resize(get());
    handles.resize(std::min(get(), handles.size())); // one that came meanwhile is next time's
    for (const dds_instance_handle_t handle : handles)
    {
        visitMatched(entity, calls, core::InstanceHandle(handle), visit);
    }
}

void visitMatched(dds_entity_t entity, const MatchedCalls& calls, core::InstanceHandle handle,
                  const EndpointVisitor& visit)
{
    const std::unique_ptr<dds_builtintopic_endpoint_t, decltype(&dds_builtintopic_free_endpoint)> endpoint(
        calls.dataOf(entity, handle.value()), dds_builtintopic_free_endpoint);
    if (endpoint != nullptr)
    {
        visit(handle, *endpoint);
    }
}

topic::ParticipantBuiltinTopicData BuiltinTopic<topic::ParticipantBuiltinTopicData>::fromNative(const void* native)
{
    return {.key = keyOf(static_cast<const dds_builtintopic_participant_t*>(native)->key)};
}

topic::PublicationBuiltinTopicData BuiltinTopic<topic::PublicationBuiltinTopicData>::fromNative(const void* native)
{
    const auto& endpoint = *static_cast<const dds_builtintopic_endpoint_t*>(native);
    // Of a writer that has gone there is the key only.
    return {.participant = keyOf(endpoint.participant_key),
            .topicName = endpoint.topic_name == nullptr ? std::string() : endpoint.topic_name};
}

BuiltinReaderDelegate::BuiltinReaderDelegate(std::shared_ptr<ParticipantDelegate> participant, dds_entity_t topic)
    : m_participant(std::move(participant)),
      m_entity(check(dds_create_reader(m_participant->handle(), topic, nullptr, nullptr),
                     "creating a reader of what discovery finds"))
{}

void BuiltinReaderDelegate::take(const Visitor& visit)
{
    constexpr std::size_t batchSize = 32;
    std::array<void*, batchSize> samples{};
    std::array<dds_sample_info_t, batchSize> infos{};
    for (;;)
    {
        // Lent, because the library alone can free what they point to.
        const dds_return_t count = check(
            dds_take(m_entity.handle(), samples.data(), infos.data(), batchSize, static_cast<std::uint32_t>(batchSize)),
            "taking what discovery has found");
        if (count == 0)
        {
            return;
        }
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            visit(samples[i], infos[i]);
        }
        check(dds_return_loan(m_entity.handle(), samples.data(), count), "giving back what discovery has found");
        samples.fill(nullptr);
    }
}

} // namespace dds::detail
