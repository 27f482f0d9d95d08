#pragma once

#include "tests/chaos/Plan.h"
#include "tests/chaos/World.h"

#include <chrono>
#include <cstdint>
#include <iosfwd>

namespace chaos
{

/// What one run is to be.
struct RunOptions
{
    std::uint64_t seed = 1;
    std::chrono::seconds length{10};
    Bounds bounds = Bounds::times(1);
    Sabotage sabotage = Sabotage::None;
    bool isWithHostileMember = false;
};

/// Starts a bridge, a router, controllers and operators, carries the plan out, checks what must hold throughout and at
/// the end, and prints the figures. True when nothing was violated.
bool run(const RunOptions& options, std::ostream& out);

} // namespace chaos
