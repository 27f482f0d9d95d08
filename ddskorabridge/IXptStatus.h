#pragma once

#include "bustypes/RoutingTypes.h"

#include <cstddef>
#include <cstdint>
#include <span>

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

    /// The same of `firstOutput` and up to `count` - 1 that follow it, until one is beyond the table; none when the
    /// first is. They are read where they are kept: they change with the next event.
    virtual std::span<const com::tallowcrest::dds_::routing::MacroXptOutput> records(std::uint32_t firstOutput,
                                                                                     std::size_t count) const = 0;
};
