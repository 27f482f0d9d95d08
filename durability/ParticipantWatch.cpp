#include "durability/ParticipantWatch.h"

#include <algorithm>
#include <array>

namespace com::tallowcrest::durability
{

ParticipantWatch::ParticipantWatch(dds_entity_t participant, Clock::time_point started)
    : m_newcomer(started), m_reader(dds_create_reader(participant, DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, nullptr, nullptr),
                                    "making the reader of participants")
{}

ParticipantWatch::Clock::time_point ParticipantWatch::lastNewcomer()
{
    constexpr std::size_t atOnce = 16;
    std::array<void*, atOnce> samples{};
    std::array<dds_sample_info_t, atOnce> infos{};
    dds_return_t count = 0;
    while ((count = dds_take(m_reader.get(), samples.data(), infos.data(), atOnce, atOnce)) > 0)
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            if (infos[i].valid_data)
            {
                // Announced with the time at which it was found.
                const std::chrono::nanoseconds age(std::max<dds_time_t>(dds_time() - infos[i].source_timestamp, 0));
                m_newcomer = std::max(m_newcomer, Clock::now() - std::chrono::duration_cast<Clock::duration>(age));
            }
        }
        static_cast<void>(dds_return_loan(m_reader.get(), samples.data(), count));
        samples.fill(nullptr);
    }
    return m_newcomer;
}

} // namespace com::tallowcrest::durability
