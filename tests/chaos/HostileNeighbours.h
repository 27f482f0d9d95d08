#pragma once

#include "dds/detail/Entity.hpp"
#include "dds/domain/DomainParticipant.hpp"
#include "durability/NeighbourPort.h"
#include "runtime/util/WakeEvent.h"
#include "tests/chaos/Dice.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace chaos
{

/// Takes part in what bridges tell each other about targets, in both routers' partitions, and only lies: a few
/// participants that promise what nobody has, and more writers than there can be bridges. Owned by one thread.
class HostileNeighbours
{
public:
    explicit HostileNeighbours(std::uint64_t seed);

    /// Everybody says that he knows something else of every output, and hands over rows that cannot be.
    void promise();
    /// More and more writers, up to more than are listened to; then all go and it begins anew.
    void crowd();
    /// One of the promises changes.
    void drip();

private:
    using NeighbourPort = com::tallowcrest::durability::NeighbourPort;

    struct Liar
    {
        Liar(const dds::domain::DomainParticipant& participant,
             const com::tallowcrest::durability::ChannelName& channel, com::tallowcrest::util::WakeEvent& wake,
             std::size_t numBuckets)
            : port(participant, channel, "", wake), buckets(numBuckets)
        {}
        NeighbourPort port;
        std::size_t buckets;
    };

    void lie(Liar& liar);

    Dice m_dice;
    com::tallowcrest::util::WakeEvent m_wake;
    std::vector<dds::domain::DomainParticipant> m_participants;
    std::list<Liar> m_liars;
    std::vector<dds::domain::DomainParticipant> m_crowded; ///< those of the many writers
    std::list<dds::detail::Entity> m_topics;
    std::list<dds::detail::Entity> m_crowd; ///< publishers, each with a writer
};

} // namespace chaos
