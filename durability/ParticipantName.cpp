#include "durability/ParticipantName.h"

#include "durability/BusEntity.h"

#include <array>
#include <cstddef>

namespace com::tallowcrest::durability
{

NeighbourId nameOf(dds_entity_t participant)
{
    dds_guid_t guid{};
    const dds_return_t code = dds_get_guid(participant, &guid);
    if (code < 0)
    {
        throw BusError(std::string("asking for the participant's name: ") + dds_strretcode(code));
    }
    return nameOfGuid(guid);
}

NeighbourId nameOfGuid(const dds_guid_t& guid)
{
    // FNV-1a over the participant's part of the name.
    constexpr std::size_t participantsPart = 12;
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < participantsPart; ++i)
    {
        hash = (hash ^ guid.v[i]) * 0x100000001b3U;
    }
    return hash;
}

std::set<NeighbourId> participantsThatWrite(dds_entity_t participant, const std::string& topic)
{
    // A reader for this call only: it is seldom asked, and one that stays costs memory for each writer on the bus.
    const BusEntity reader(dds_create_reader(participant, DDS_BUILTIN_TOPIC_DCPSPUBLICATION, nullptr, nullptr),
                           "making the reader of writers");
    std::set<NeighbourId> all;
    constexpr std::size_t atOnce = 32;
    std::array<void*, atOnce> samples{};
    std::array<dds_sample_info_t, atOnce> infos{};
    dds_return_t count = 0;
    while ((count = dds_take(reader.get(), samples.data(), infos.data(), atOnce, atOnce)) > 0)
    {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        {
            const auto& endpoint = *static_cast<const dds_builtintopic_endpoint_t*>(samples[i]);
            if (infos[i].valid_data && endpoint.topic_name == topic)
            {
                all.insert(nameOfGuid(endpoint.participant_key));
            }
        }
        static_cast<void>(dds_return_loan(reader.get(), samples.data(), count));
        samples.fill(nullptr);
    }
    return all;
}

} // namespace com::tallowcrest::durability
