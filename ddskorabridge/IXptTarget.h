#pragma once

#include "bustypes/RoutingTypes.h"

#include <cstdint>

/// What a level asks of the crosspoint targets of its signal type. Numbers are macro crosspoints; result codes are
/// those of `ResultCode.h`. A check changes nothing; a set is made after its check has passed. Apartment-bound.
class IXptTarget
{
public:
    IXptTarget() = default;
    virtual ~IXptTarget() = default;
    IXptTarget(const IXptTarget&) = delete;
    IXptTarget& operator=(const IXptTarget&) = delete;

    /// 0, or why the input may not be taken to the output: 3, 4, 12 or 13.
    virtual std::uint32_t checkTake(std::uint32_t output, std::uint32_t input, std::uint32_t lprId) const = 0;

    /// Sets and publishes the output's source. `when` is a packed timecode. Throws what the bus throws.
    virtual void take(std::uint32_t output, std::uint32_t input, std::uint32_t lprId, std::uint32_t when) = 0;

    /// 0, or why the holder or lock state may not be set: 4, 12 or 13. `force` passes any lock.
    virtual std::uint32_t checkLpr(std::uint32_t output, bool force, std::uint32_t lprId) const = 0;

    /// Sets and publishes the output's holder and lock state. Throws what the bus throws.
    virtual void setLpr(std::uint32_t output, std::uint32_t lprId, com::tallowcrest::dds_::routing::LPRState lprState,
                        std::uint32_t when) = 0;
};
