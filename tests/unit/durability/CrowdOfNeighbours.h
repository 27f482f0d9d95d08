#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "durability/NeighbourPort.h"
#include "durability/Participants.h"
#include "runtime/util/WakeEvent.h"

#include <cstddef>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <utility>

/// Participants that keep a channel and say nothing of it.
class CrowdOfNeighbours
{
public:
    using ChannelName = com::tallowcrest::durability::ChannelName;
    using NeighbourPort = com::tallowcrest::durability::NeighbourPort;

    explicit CrowdOfNeighbours(ChannelName channel) : m_channel(std::move(channel)) {}

    /// One more, whose endpoints there are `times` of.
    const dds::domain::DomainParticipant& add(std::size_t times = 1)
    {
        const auto& participant = m_participants.emplace_back(dds::domain::default_id());
        for (std::size_t i = 0; i < times; ++i)
        {
            m_ports.emplace_back(participant, m_channel, "", m_wake);
        }
        return participant;
    }
    NeighbourPort& lastPort() { return m_ports.back(); }

private:
    const ChannelName m_channel;
    com::tallowcrest::util::WakeEvent m_wake;
    std::list<dds::domain::DomainParticipant> m_participants;
    std::list<NeighbourPort> m_ports;
};
