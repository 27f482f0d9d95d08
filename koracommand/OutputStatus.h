#pragma once

#include <cstdint>

/// What a level tells of one controller output. A plain value.
struct OutputStatus
{
    std::uint32_t result = 0; ///< a code of `ResultCode.h`
    std::uint32_t controllerInput = 0;
    std::uint32_t lprState = 0; ///< 0 released, 1 locked, 2 protected
    std::uint32_t lprId = 0;

    bool operator==(const OutputStatus&) const = default;
};
