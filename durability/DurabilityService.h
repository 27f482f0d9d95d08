#pragma once

#include "durability/Channel.h"
#include "durability/ChannelList.h"
#include "durability/RecentRows.h"
#include "durability/Recorder.h"
#include "durability/StoreKeeper.h"
#include "durability/TypeCodec.h"
#include "runtime/util/WakeEvent.h"

#include <dds/dds.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace com::tallowcrest::durability
{

/// Uses a channel for as long as it lives; see Channel. The service must outlive it. Owned by a writer or a reader.
class ChannelUse
{
public:
    explicit ChannelUse(std::shared_ptr<Channel> channel) : m_channel(std::move(channel)) { m_channel->addUser(); }
    ~ChannelUse() { m_channel->removeUser(); }
    ChannelUse(const ChannelUse&) = delete;
    ChannelUse& operator=(const ChannelUse&) = delete;

    Channel* operator->() const { return m_channel.get(); }

private:
    const std::shared_ptr<Channel> m_channel;
};

/// Keeps the last sample of every instance of PERSISTENT topics beyond the process, in a store and with the other
/// participants that do the same. One per participant, made when first needed; it must go before the participant.
/// Thread-safe. Trouble with the store is logged and otherwise invisible.
class DurabilityService
{
public:
    /// `participant` was made at `started`. Throws BusError.
    DurabilityService(dds_entity_t participant, Channel::Clock::time_point started,
                      std::filesystem::path store = storePath());
    DurabilityService(const DurabilityService&) = delete;
    DurabilityService& operator=(const DurabilityService&) = delete;

    /// The file that KORABRIDGE_DURABLE_STORE names, else /var/lib/korabridge/durable.db.
    static std::filesystem::path storePath();

    std::unique_ptr<ChannelUse> use(const std::string& partition, const std::string& topic, const TypeCodec& codec);

private:
    util::WakeEvent m_wake;
    ChannelList m_channels;
    RecentRows m_recent;
    StoreKeeper m_keeper;
    Recorder m_recorder;
};

} // namespace com::tallowcrest::durability
