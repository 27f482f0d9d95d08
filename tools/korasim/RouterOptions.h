#pragma once

#include "bustypes/RoutingTypes.h"
#include "tools/korasim/RouterObserver.h"

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korasim
{

/// How many inputs and outputs of one signal type the simulated member offers; they are numbered from 1.
struct MatrixSize
{
    std::uint32_t inputs = 0;
    std::uint32_t outputs = 0;
};

/// What a simulated router is to be.
struct RouterOptions
{
    std::uint32_t frameId = 17;
    std::string partition = "R1"; ///< router partition, at most 16 characters
    std::uint16_t memberIndex = 0;
    MatrixSize video{288, 288};
    MatrixSize audio{2304, 2304};
    /// Levels beside those that the bridge brings along.
    std::vector<com::tallowcrest::dds_::routing::MacroLevel> levels;
    /// Outputs whose targets never become status.
    std::set<std::pair<Signal, std::uint32_t>> refused;
    /// From a target to the status that confirms it.
    std::chrono::milliseconds statusDelay{0};

    const MatrixSize& size(Signal signal) const { return signal == Signal::Video ? video : audio; }
};

} // namespace korasim
