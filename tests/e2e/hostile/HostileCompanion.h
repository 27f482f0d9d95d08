#pragma once

#include "bustypes/TopicNames.h"
#include "dds/domain/DomainParticipant.hpp"
#include "durability/NeighbourPort.h"
#include "runtime/util/WakeEvent.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <thread>

namespace e2e
{

/// Takes part in what bridges tell each other about both target topics of a partition: has more than anybody each time
/// that it is heard, and never hands over what it has promised.
class HostileCompanion
{
public:
    using TopicName = com::tallowcrest::routing::TopicName;

    explicit HostileCompanion(const std::string& routerPartition)
        : m_partition(com::tallowcrest::routing::partitionName(routerPartition))
    {
        for (const auto& [topic, buckets] : {std::pair{TopicName::MacroXptOutputAudioTarget, std::size_t{37}},
                                             std::pair{TopicName::MacroXptOutputVideoTarget, std::size_t{5}}})
        {
            m_topics.emplace_back(port(topic), buckets);
        }
        m_thread = std::thread([this] { drip(); });
    }
    ~HostileCompanion()
    {
        m_isStopping = true;
        m_thread.join();
    }
    HostileCompanion(const HostileCompanion&) = delete;
    HostileCompanion& operator=(const HostileCompanion&) = delete;

private:
    using NeighbourPort = com::tallowcrest::durability::NeighbourPort;
    using Status = com::tallowcrest::durability::Status;
    struct Topic
    {
        Topic(NeighbourPort& itsPort, std::size_t itsBuckets) : port(itsPort), buckets(itsBuckets) {}
        NeighbourPort& port;
        std::size_t buckets;
    };

    NeighbourPort& port(TopicName topic)
    {
        return m_ports.emplace_back(
            m_participant,
            com::tallowcrest::durability::ChannelName{m_partition, com::tallowcrest::routing::topicName(topic)}, "",
            m_wake);
    }
    void drip()
    {
        std::uint64_t promised = 999'999'999;
        while (!m_isStopping)
        {
            for (const Topic& topic : m_topics)
            {
                Status status;
                status.digests.assign(topic.buckets, ++promised);
                topic.port.take({.onNeighbour = [this](auto id, bool) { m_met.push_back(id); },
                                 .onStatus = [](auto, const Status&) {},
                                 .onRows = [](const auto&) {}});
                status.met = m_met;
                topic.port.tell(status);
                topic.port.handOver({.bucket = 0, .digest = ++promised, .rows = {}});
            }
            m_wake.waitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(50));
        }
    }

    const std::string m_partition;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    com::tallowcrest::util::WakeEvent m_wake;
    std::list<NeighbourPort> m_ports;
    std::list<Topic> m_topics;
    std::vector<std::uint64_t> m_met; ///< of the thread
    std::atomic<bool> m_isStopping{false};
    std::thread m_thread;
};

} // namespace e2e
