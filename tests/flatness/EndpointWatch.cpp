#include "tests/flatness/EndpointWatch.h"

#include "bustypes/TopicNames.h"

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <stdexcept>

namespace flatness
{

namespace
{

constexpr std::size_t most = 4096;

dds_entity_t checked(dds_entity_t entity)
{
    if (entity < 0)
    {
        throw std::runtime_error(std::string("no DDS entity: ") + dds_strretcode(-entity));
    }
    return entity;
}

/// Calls `function` for each endpoint that is alive.
void forEach(dds_entity_t reader, const std::function<void(const dds_builtintopic_endpoint_t&)>& function)
{
    static std::array<void*, most> samples;
    static std::array<dds_sample_info_t, most> infos;
    samples[0] = nullptr;
    // Those that have gone would pile up.
    dds_return_t count =
        dds_take_mask(reader, samples.data(), infos.data(), most, most,
                      DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE |
                          DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    if (count > 0)
    {
        dds_return_loan(reader, samples.data(), count);
        samples[0] = nullptr;
    }
    count = dds_read_mask(reader, samples.data(), infos.data(), most, most,
                          DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ALIVE_INSTANCE_STATE);
    for (dds_return_t i = 0; i < count; ++i)
    {
        const auto at = static_cast<std::size_t>(i);
        if (infos.at(at).valid_data)
        {
            function(*static_cast<const dds_builtintopic_endpoint_t*>(samples.at(at)));
        }
    }
    if (count > 0)
    {
        dds_return_loan(reader, samples.data(), count);
    }
}

} // namespace

EndpointWatch::EndpointWatch()
    : m_participant(checked(dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr))),
      m_publications(checked(dds_create_reader(m_participant, DDS_BUILTIN_TOPIC_DCPSPUBLICATION, nullptr, nullptr))),
      m_subscriptions(checked(dds_create_reader(m_participant, DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION, nullptr, nullptr)))
{}

EndpointWatch::~EndpointWatch()
{
    dds_delete(m_participant);
}

std::size_t EndpointWatch::endpointsOfBridge() const
{
    const std::string componentTopic =
        com::tallowcrest::routing::topicName(com::tallowcrest::routing::TopicName::ComponentInfoKoraBridge);
    std::optional<dds_guid_t> bridge;
    forEach(m_publications, [&](const dds_builtintopic_endpoint_t& endpoint) {
        if (componentTopic == endpoint.topic_name)
        {
            bridge = endpoint.participant_key;
        }
    });
    std::size_t count = 0;
    const auto countBridges = [&](const dds_builtintopic_endpoint_t& endpoint) {
        count += bridge && std::memcmp(&endpoint.participant_key, &*bridge, sizeof *bridge) == 0 ? 1U : 0U;
    };
    forEach(m_publications, countBridges);
    forEach(m_subscriptions, countBridges);
    return count;
}

} // namespace flatness
