#include "durability/DurabilityService.h"

#include <cstdlib>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

bool isMissing(const std::filesystem::path& store)
{
    std::error_code error;
    return !std::filesystem::exists(store, error) && !error; // what cannot be looked at may be there
}

} // namespace

DurabilityService::DurabilityService(dds_entity_t participant, Channel::Clock::time_point started,
                                     std::filesystem::path store)
    : m_channels(m_wake), m_recent(store, m_channels, isMissing(store)),
      m_keeper(std::move(store), m_channels, [this] { m_wake.signal(); }),
      m_recorder(participant, started, m_channels, m_keeper, m_recent, m_wake)
{}

std::filesystem::path DurabilityService::storePath()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const path = std::getenv("KORABRIDGE_DURABLE_STORE");
    return path != nullptr && *path != '\0' ? path : "/var/lib/korabridge/durable.db";
}

std::unique_ptr<ChannelUse> DurabilityService::use(const std::string& partition, const std::string& topic,
                                                   const TypeCodec& codec)
{
    return std::make_unique<ChannelUse>(m_channels.get({partition, topic}, codec));
}

} // namespace com::tallowcrest::durability
