#pragma once

#include "durability/Channel.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace com::tallowcrest::durability
{

/// Every channel that was ever used, by name. Channels are never removed. Thread-safe.
class ChannelList
{
public:
    explicit ChannelList(util::WakeEvent& recorder) : m_recorder(recorder) {}

    /// The channel of that name; made when there is none yet.
    std::shared_ptr<Channel> get(const ChannelName& name, const TypeCodec& codec)
    {
        const std::lock_guard lock(m_mutex);
        std::shared_ptr<Channel>& channel = m_channels[name];
        if (channel == nullptr)
        {
            channel = std::make_shared<Channel>(name, codec, m_recorder);
        }
        return channel;
    }
    std::vector<std::shared_ptr<Channel>> all() const
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::shared_ptr<Channel>> channels;
        for (const auto& [name, channel] : m_channels)
        {
            channels.push_back(channel);
        }
        return channels;
    }

private:
    util::WakeEvent& m_recorder;
    mutable std::mutex m_mutex;
    std::map<ChannelName, std::shared_ptr<Channel>> m_channels;
};

} // namespace com::tallowcrest::durability
