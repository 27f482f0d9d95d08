#pragma once

#include "bustypes/RoutingTypes.h"

#include <cstdint>
#include <span>

/// The route and lock of one macro crosspoint output that the router reports as in force. A plain value.
struct XptStatus
{
    std::uint32_t result = 0; ///< 0, or 4 for an output beyond the table
    std::uint32_t input = 0;  ///< 4294967295: no route is known
    com::tallowcrest::dds_::routing::LPRState lprState = com::tallowcrest::dds_::routing::LPR_RELEASED;
    std::uint32_t lprId = 0;
};

/// What a level asks of the crosspoint status of its signal type. Numbers are macro crosspoints. Apartment-bound.
class IXptStatus
{
public:
    IXptStatus() = default;
    virtual ~IXptStatus() = default;
    IXptStatus(const IXptStatus&) = delete;
    IXptStatus& operator=(const IXptStatus&) = delete;

    /// The route and lock that the router reports as in force. 0, or 4 for an output beyond the table, which leaves the
    /// three values as they were. An input of 4294967295 means that no route is known.
    virtual std::uint32_t getStatus(std::uint32_t output, std::uint32_t& input,
                                    com::tallowcrest::dds_::routing::LPRState& lprState,
                                    std::uint32_t& lprId) const = 0;

    /// The same for as many consecutive outputs as `statuses` holds, beginning with `firstOutput`.
    virtual void getStatuses(std::uint32_t firstOutput, std::span<XptStatus> statuses) const
    {
        for (XptStatus& status : statuses)
        {
            status = {};
            status.result = getStatus(firstOutput++, status.input, status.lprState, status.lprId);
        }
    }
};
