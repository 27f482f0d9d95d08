#include "durability/Participants.h"

#include <algorithm>
#include <cstddef>

namespace com::tallowcrest::durability
{

NeighbourId nameOf(const dds::topic::BuiltinTopicKey& participant)
{
    // FNV-1a over the participant's part of the name.
    constexpr std::size_t participantsPart = 12;
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < participantsPart; ++i)
    {
        hash = (hash ^ participant[i]) * 0x100000001b3U;
    }
    return hash;
}

std::set<NeighbourId> participantsThatWrite(const dds::domain::DomainParticipant& participant, const std::string& topic)
{
    // A reader for this call only: it is seldom asked, and one that stays costs memory for each writer on the bus.
    dds::sub::BuiltinReader<dds::topic::PublicationBuiltinTopicData> reader(participant);
    std::set<NeighbourId> all;
    for (const auto& sample : reader.take())
    {
        if (sample.info().valid() && sample.data().topicName == topic)
        {
            all.insert(nameOf(sample.data().participant));
        }
    }
    return all;
}

ParticipantWatch::ParticipantWatch(const dds::domain::DomainParticipant& participant, Clock::time_point started)
    : m_newcomer(started), m_reader(participant)
{}

ParticipantWatch::Clock::time_point ParticipantWatch::lastNewcomer()
{
    for (const auto& sample : m_reader.take())
    {
        if (sample.info().valid())
        {
            // Announced with the time at which it was found.
            const std::chrono::nanoseconds age(dds::domain::current_time().to_nanoseconds() -
                                               sample.info().timestamp().to_nanoseconds());
            m_newcomer = std::max(m_newcomer, Clock::now() - std::chrono::duration_cast<Clock::duration>(
                                                                 std::max(age, std::chrono::nanoseconds(0))));
        }
    }
    return m_newcomer;
}

} // namespace com::tallowcrest::durability
