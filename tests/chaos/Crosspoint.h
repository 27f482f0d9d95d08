#pragma once

#include "tools/korasim/RouterObserver.h"

#include <chrono>
#include <compare>
#include <cstdint>
#include <string>

namespace chaos
{

using Clock = std::chrono::steady_clock;
using korasim::Signal;

/// One output of the router.
struct Crosspoint
{
    Signal signal = Signal::Video;
    std::uint32_t output = 0;

    auto operator<=>(const Crosspoint&) const = default;
    std::string text() const { return (signal == Signal::Video ? "video " : "audio ") + std::to_string(output); }
};

/// The level that the bridge always has for a signal type; its numbers are the bus's own.
constexpr std::uint32_t levelOf(Signal signal)
{
    return signal == Signal::Video ? 1 : 2;
}
constexpr std::uint32_t sizeOf(Signal signal)
{
    return signal == Signal::Video ? 288 : 2304;
}

inline std::string milliseconds(Clock::duration duration)
{
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count()) + " ms";
}

} // namespace chaos
