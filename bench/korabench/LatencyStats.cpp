#include "bench/korabench/LatencyStats.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace korabench
{

void LatencyStats::reserve(std::size_t count)
{
    // Touches the memory too: the system gives it out page by page.
    m_samples.resize(count);
    m_samples.clear();
}

void LatencyStats::add(Nanoseconds latency)
{
    constexpr Nanoseconds most(std::numeric_limits<std::uint32_t>::max());
    m_samples.push_back(static_cast<std::uint32_t>(std::clamp(latency, Nanoseconds(0), most).count()));
    m_isSorted = false;
}

void LatencyStats::merge(const LatencyStats& other)
{
    m_samples.insert(m_samples.end(), other.m_samples.begin(), other.m_samples.end());
    m_isSorted = false;
}

LatencyStats::Nanoseconds LatencyStats::percentile(double share) const
{
    if (m_samples.empty())
    {
        return Nanoseconds(0);
    }
    if (!m_isSorted)
    {
        std::sort(m_samples.begin(), m_samples.end());
        m_isSorted = true;
    }
    const auto count = static_cast<double>(m_samples.size());
    const double rank = std::clamp(std::ceil(share * count), 1.0, count);
    return Nanoseconds(m_samples[static_cast<std::size_t>(rank) - 1]);
}

LatencyStats::Nanoseconds LatencyStats::mean() const
{
    if (m_samples.empty())
    {
        return Nanoseconds(0);
    }
    const auto sum = std::accumulate(m_samples.begin(), m_samples.end(), std::uint64_t{0});
    return Nanoseconds(sum / m_samples.size());
}

} // namespace korabench
