#pragma once

#include "bustypes/RoutingTypes.h"
#include "dds/topic/DurableCodec.hpp"
#include "durability/SampleTable.h"

#include <cstdint>
#include <cstring>

/// Crosspoint outputs as the keeping of data sees them.
using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
using OutputSupport = dds::topic::topic_type_support<Output>;
using BusOutput = OutputSupport::BusType;

inline const com::tallowcrest::durability::TypeCodec& outputCodec()
{
    return dds::topic::durable_codec<Output>();
}

inline Output output(std::uint32_t number, std::uint32_t input, std::uint32_t when = 0)
{
    Output result;
    result.macroXptOutput = number;
    result.macroXptInput = input;
    result.when = when;
    return result;
}

inline BusOutput busOutput(std::uint32_t number, std::uint32_t input, std::uint32_t when = 0)
{
    return OutputSupport::toBus(output(number, input, when));
}

inline std::uint32_t inputOf(const com::tallowcrest::durability::KeptSample& kept)
{
    BusOutput bus;
    std::memcpy(&bus, kept.sample.data(), sizeof(bus));
    return bus.macroXptInput;
}
