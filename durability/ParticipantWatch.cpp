#include "durability/ParticipantWatch.h"

#include <algorithm>

namespace com::tallowcrest::durability
{

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
