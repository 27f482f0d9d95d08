#include "dds/detail/KeptData.hpp"

#include <string>

namespace dds::detail
{

std::unique_ptr<com::tallowcrest::durability::ChannelUse> useKeptData(ParticipantDelegate& participant,
                                                                      const TopicDelegate& topic,
                                                                      const core::policy::Durability& durability,
                                                                      const core::policy::Partition& partition)
{
    if (durability.kind() != core::policy::DurabilityKind::PERSISTENT || partition.name().size() > 1)
    {
        return nullptr;
    }
    return participant.durability().use(partition.name().empty() ? std::string() : partition.name().front(),
                                        topic.name(), topic.codec());
}

} // namespace dds::detail
