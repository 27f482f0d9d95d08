#pragma once

#include "dds/core/policy/CorePolicy.hpp"
#include "dds/detail/ParticipantDelegate.hpp"
#include "dds/detail/TopicDelegate.hpp"
#include "durability/DurabilityService.h"

#include <memory>

namespace dds::detail
{

/// The keeping of data for a writer or reader of `topic` in `partition`; null when its durability is not PERSISTENT or
/// it names several partitions, for which nobody keeps data. Throws dds::core::Error.
std::unique_ptr<com::tallowcrest::durability::ChannelUse> useKeptData(ParticipantDelegate& participant,
                                                                      const TopicDelegate& topic,
                                                                      const core::policy::Durability& durability,
                                                                      const core::policy::Partition& partition);

} // namespace dds::detail
