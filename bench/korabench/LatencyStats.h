#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
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

} // namespace korabench
