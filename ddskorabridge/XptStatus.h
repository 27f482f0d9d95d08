#pragma once

#include "bustypes/RoutingTypes.h"

#include <cstdint>

/// The route and lock of one macro crosspoint output that the router reports as in force. A plain value.
struct XptStatus
{
    std::uint32_t result = 0; ///< 0, or 4 for an output beyond the table
    std::uint32_t input = 0;  ///< 4294967295: no route is known
    com::tallowcrest::dds_::routing::LPRState lprState = com::tallowcrest::dds_::routing::LPR_RELEASED;
    std::uint32_t lprId = 0;
};
