#include "tests/support/WireDomain.h"

#include "dds/core/Exception.hpp"
#include "tests/support/WaitUntil.h"

#include <array>
#include <stdexcept>

namespace testsupport
{

namespace
{

// Its own domain in this process; 0, the default domain of the tests' configuration, on the wire.
constexpr dds_domainid_t domainId = 7;
constexpr const char* configuration = R"(<CycloneDDS><Domain Id="any">
    <General><Interfaces><NetworkInterface name="lo" multicast="false"/></Interfaces>
      <AllowMulticast>false</AllowMulticast></General>
    <Discovery><ExternalDomainId>0</ExternalDomainId><ParticipantIndex>auto</ParticipantIndex>
      <MaxAutoParticipantIndex>60</MaxAutoParticipantIndex><Peers><Peer Address="127.0.0.1"/></Peers></Discovery>
  </Domain></CycloneDDS>)";

dds_entity_t createDomain()
{
    const dds_entity_t domain = dds_create_domain(domainId, configuration);
    if (domain < 0)
    {
        throw std::runtime_error(std::string("creating the test's own domain: ") + dds_strretcode(domain));
    }
    return domain;
}

} // namespace

WireDomain::WireDomain() : m_domain(createDomain()), m_participant(domainId) {}

WireDomain::~WireDomain()
{
    m_participant = dds::domain::DomainParticipant(dds::core::null);
    dds_delete(m_domain);
}

std::optional<dds_durability_kind_t> WireDomain::Endpoint::durability() const
{
    dds_durability_kind_t kind = DDS_DURABILITY_VOLATILE;
    return dds_qget_durability(qos.get(), &kind) ? std::optional(kind) : std::nullopt;
}

dds_duration_t WireDomain::Endpoint::reliableFor() const
{
    dds_reliability_kind_t kind = DDS_RELIABILITY_BEST_EFFORT;
    dds_duration_t maxBlockingTime = 0;
    dds_qget_reliability(qos.get(), &kind, &maxBlockingTime);
    return kind == DDS_RELIABILITY_RELIABLE ? maxBlockingTime : -1;
}

std::string WireDomain::Endpoint::partition() const
{
    std::uint32_t count = 0;
    char** names = nullptr;
    if (!dds_qget_partition(qos.get(), &count, &names))
    {
        return "<none>";
    }
    std::string result = count == 1 ? names[0] : "<" + std::to_string(count) + ">";
    for (std::uint32_t i = 0; i < count; ++i)
    {
        dds_free(names[i]);
    }
    dds_free(names);
    return result;
}

bool WireDomain::Endpoint::autodispose() const
{
    bool autodispose = true;
    dds_qget_writer_data_lifecycle(qos.get(), &autodispose);
    return autodispose;
}

bool WireDomain::Endpoint::keepsLastOne() const
{
    dds_history_kind_t kind = DDS_HISTORY_KEEP_ALL;
    std::int32_t depth = 0;
    dds_qget_history(qos.get(), &kind, &depth);
    return kind == DDS_HISTORY_KEEP_LAST && depth == 1;
}

std::optional<WireDomain::Endpoint> WireDomain::discoveredWriter(const std::string& topicName) const
{
    return discovered(DDS_BUILTIN_TOPIC_DCPSPUBLICATION, topicName);
}

std::optional<WireDomain::Endpoint> WireDomain::discoveredReader(const std::string& topicName) const
{
    return discovered(DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION, topicName);
}

std::optional<WireDomain::Endpoint> WireDomain::discovered(dds_entity_t builtinTopic,
                                                           const std::string& topicName) const
{
    const dds_entity_t reader = dds_create_reader(m_participant.delegate()->handle(), builtinTopic, nullptr, nullptr);
    std::optional<Endpoint> result;
    waitUntil([&] {
        std::array<void*, 64> samples{};
        std::array<dds_sample_info_t, 64> infos{};
        const dds_return_t count = dds_take(reader, samples.data(), infos.data(), samples.size(), samples.size());
        for (std::size_t i = 0; count > 0 && i < static_cast<std::size_t>(count); ++i)
        {
            const auto* const endpoint = static_cast<const dds_builtintopic_endpoint_t*>(samples[i]);
            if (infos[i].valid_data && topicName == endpoint->topic_name)
            {
                std::shared_ptr<dds_qos_t> qos(dds_create_qos(), dds_delete_qos);
                dds_copy_qos(qos.get(), endpoint->qos);
                result = Endpoint{endpoint->type_name, qos};
            }
        }
        if (count > 0)
        {
            dds_return_loan(reader, samples.data(), count);
        }
        return result.has_value();
    });
    dds_delete(reader);
    return result;
}

} // namespace testsupport
