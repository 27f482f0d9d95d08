#pragma once

#include "bench/korabench/Client.h"
#include "bench/korabench/CommandMix.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace korabench
{

/// Latencies of requests, every one of them kept, and what is said of them. Owned by one thread; merged after the run.
class LatencyStats
{
public:
    using Nanoseconds = std::chrono::nanoseconds;

    /// Makes room, so that nothing is allocated while measuring; more than `count` are kept all the same.
    void reserve(std::size_t count);
    /// Over 4.29 s counts as that.
    void add(Nanoseconds latency);
    void merge(const LatencyStats& other);

    std::size_t count() const { return m_samples.size(); }
    /// The smallest latency that at least this share (over 0, at most 1) of all latencies do not exceed: no value
    /// between two measured ones is made up. 0 when there is none.
    Nanoseconds percentile(double share) const;
    Nanoseconds max() const { return percentile(1.0); }
    Nanoseconds mean() const;

private:
    /// Nanoseconds; sorted when asked for the first time.
    mutable std::vector<std::uint32_t> m_samples;
    mutable bool m_isSorted = true;
};

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
