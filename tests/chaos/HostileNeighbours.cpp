#include "tests/chaos/HostileNeighbours.h"

#include "bustypes/TopicNames.h"
#include "dds/core/Exception.hpp"

#include <exchange.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

using com::tallowcrest::routing::TopicName;
using namespace com::tallowcrest::durability;

namespace chaos
{

namespace
{

/// Whoever has had enough of it refuses more.
template <typename Say>
void unlessRefused(const Say& say)
{
    try
    {
        say();
    }
    catch (const dds::core::Exception& refused)
    {
        std::cerr << "hostile: " << refused.what() << '\n';
    }
}

dds_entity_t made(dds_entity_t entity, const char* what)
{
    if (entity < 0)
    {
        throw std::runtime_error(std::string("making ") + what + ": " + dds_strretcode(entity));
    }
    return entity;
}

constexpr std::size_t participants = 3;
constexpr std::size_t mostWriters = 300;
constexpr std::size_t writersAtOnce = 20;
constexpr SourceTime inAYear = earliestSane + INT64_C(400) * 86400 * 1000000;

struct Target
{
    TopicName topic;
    std::size_t buckets;
};
constexpr Target targets[] = {{TopicName::MacroXptOutputVideoTarget, 288 / bucketSize + 1},
                              {TopicName::MacroXptOutputAudioTarget, 2304 / bucketSize + 1}};
constexpr const char* routers[] = {"R1", "R2"};

ChannelName channelOf(const Target& target, const char* router)
{
    using namespace com::tallowcrest::routing;
    return {.partition = partitionName(router), .topic = topicName(target.topic)};
}

} // namespace

HostileNeighbours::HostileNeighbours(std::uint64_t seed) : m_dice(seed)
{
    for (std::size_t i = 0; i < participants; ++i)
    {
        m_participants.emplace_back(dds::domain::default_id());
        m_crowded.emplace_back(dds::domain::default_id());
        for (const Target& target : targets)
        {
            for (const char* router : routers)
            {
                m_liars.emplace_back(m_participants.back(), channelOf(target, router), m_wake, target.buckets);
            }
        }
    }
}

void HostileNeighbours::lie(Liar& liar)
{
    Status status;
    // Sometimes of a size that no channel has.
    for (std::size_t i = m_dice.between(0, 7) == 0 ? 1000 : liar.buckets; i > 0; --i)
    {
        status.digests.push_back(m_dice.seed());
    }
    for (std::uint32_t i = 0; i < 200; ++i)
    {
        status.met.push_back(m_dice.seed());
        status.wants.push_back({m_dice.seed(), m_dice.between(0, 0xffffffff)});
    }
    unlessRefused([&] { liar.port.tell(status); });
}

void HostileNeighbours::promise()
{
    for (Liar& liar : m_liars)
    {
        lie(liar);
        BucketRows rows{.bucket = m_dice.between(0, 100), .digest = m_dice.seed(), .rows = {}};
        for (std::uint32_t i = 0; i < bucketSize; ++i)
        {
            // Of no output, or of a time that no clock has shown, or nothing at all.
            const bool isOfNoOutput = m_dice.between(0, 1) == 0;
            const Instance instance = isOfNoOutput ? m_dice.between(2305, 0xffffffff) : m_dice.between(1, 288);
            const std::string content = "{\"macroXptOutput\":" + std::to_string(instance) +
                                        ",\"macroXptInput\":1,\"when\":0,\"lprId\":0,\"lprState\":0}";
            rows.rows.push_back({instance,
                                 {.written = isOfNoOutput ? m_dice.between(0, 0xffffffff) : inAYear,
                                  .content = m_dice.between(0, 3) == 0 ? "\x1b[2J" : content}});
        }
        unlessRefused([&] { liar.port.handOver(rows); });
    }
}

void HostileNeighbours::crowd()
{
    if (m_crowd.size() >= mostWriters)
    {
        m_crowd.clear();
        m_topics.clear();
        return;
    }
    for (std::size_t i = 0; i < writersAtOnce; ++i)
    {
        const auto participant = m_crowded[i % m_crowded.size()].delegate()->handle();
        const ChannelName channel = channelOf(targets[i % 2], routers[m_dice.between(0, 1)]);
        const auto& topic =
            m_topics.emplace_back(made(dds_create_topic(participant, &com_tallowcrest_durability__ChannelStatus_desc,
                                                        (channel.topic + "_durable").c_str(), nullptr, nullptr),
                                       "a topic"));
        const std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)> qos(dds_create_qos(), &dds_delete_qos);
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
        dds_qset_partition1(qos.get(), channel.partition.c_str());
        const auto& publisher =
            m_crowd.emplace_back(made(dds_create_publisher(participant, qos.get(), nullptr), "a publisher"));
        // Gone with its publisher.
        static_cast<void>(made(dds_create_writer(publisher.handle(), topic.handle(), qos.get(), nullptr), "a writer"));
    }
}

void HostileNeighbours::drip()
{
    const std::uint32_t which = m_dice.between(0, static_cast<std::uint32_t>(m_liars.size()) - 1);
    lie(*std::next(m_liars.begin(), static_cast<std::ptrdiff_t>(which)));
}

} // namespace chaos
