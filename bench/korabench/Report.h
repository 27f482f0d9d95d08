#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bench/korabench/Client.h"
#include "bench/korabench/CommandMix.h"
#include "bench/korabench/LatencyStats.h"

namespace korabench
{

/// The outcome of one run.
struct Report
{
    std::uint32_t connections = 0;
    double seconds = 0;
    std::uint64_t requests = 0;
    std::uint64_t allRequests = 0; ///< those before and after the measurement too
    std::uint64_t takes = 0;       ///< entries of takes, protects and releases
    std::map<Command, LatencyStats> latencies;
    /// When each controller had all changes awaited, on the system's monotonic clock; empty when none were awaited.
    std::vector<Clock::time_point> changesCompleteAt;
};

/// Lines for people. Times in microseconds.
std::string textOf(const Report& report);
/// One line with one JSON object. Times in microseconds, those of the changes in nanoseconds of the monotonic clock.
std::string jsonOf(const Report& report);

} // namespace korabench
