#pragma once

#include "bustypes/RoutingTypes.h"
#include "bustypes/SampleText.h"
#include "buswrappers/DurableTopic.h"

#include <cstdint>
#include <string>

/// Crosspoint outputs as the keeping of data sees them.
using Output = com::tallowcrest::dds_::routing::MacroXptOutput;

inline const com::tallowcrest::durability::TypeCodec& outputCodec()
{
    return com::tallowcrest::routing::durableCodec<Output>();
}

inline Output output(std::uint32_t number, std::uint32_t input, std::uint32_t when = 0)
{
    Output result;
    result.macroXptOutput = number;
    result.macroXptInput = input;
    result.when = when;
    return result;
}

/// The content of a decision.
inline std::string contentOf(std::uint32_t number, std::uint32_t input, std::uint32_t when = 0)
{
    return com::tallowcrest::dds_::routing::jsonText(output(number, input, when));
}
