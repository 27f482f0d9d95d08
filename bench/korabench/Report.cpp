#include "bench/korabench/Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
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

namespace
{

struct NamedShare
{
    const char* name;
    double share;
};
constexpr std::array<NamedShare, 4> shares{{{"p50", 0.5}, {"p99", 0.99}, {"p99.9", 0.999}, {"max", 1.0}}};

double microseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::micro>(time).count();
}

LatencyStats total(const Report& report)
{
    LatencyStats all;
    for (const auto& [command, stats] : report.latencies)
    {
        all.merge(stats);
    }
    return all;
}

nlohmann::ordered_json latencyJson(const LatencyStats& stats)
{
    nlohmann::ordered_json json;
    json["count"] = stats.count();
    json["mean"] = microseconds(stats.mean());
    for (const auto& [name, share] : shares)
    {
        json[name] = microseconds(stats.percentile(share));
    }
    return json;
}

std::string latencyText(const char* name, const LatencyStats& stats)
{
    std::array<char, 200> line{};
    (void)std::snprintf(
        line.data(), line.size(), "%-13s %9zu %10.1f %10.1f %10.1f %10.1f\n", name, stats.count(),
        microseconds(stats.percentile(shares[0].share)), microseconds(stats.percentile(shares[1].share)),
        microseconds(stats.percentile(shares[2].share)), microseconds(stats.percentile(shares[3].share)));
    return line.data();
}

double perSecond(std::uint64_t count, double seconds)
{
    return seconds > 0 ? static_cast<double>(count) / seconds : 0;
}

} // namespace

std::string textOf(const Report& report)
{
    std::array<char, 200> line{};
    (void)std::snprintf(line.data(), line.size(), "%u connections, %.2f s: %.0f requests/s, %.0f takes/s\n",
                        report.connections, report.seconds, perSecond(report.requests, report.seconds),
                        perSecond(report.takes, report.seconds));
    std::string text = line.data();
    text += "latency in us     count        p50        p99      p99.9        max\n";
    for (const auto& [command, stats] : report.latencies)
    {
        text += stats.count() != 0 ? latencyText(nameOf(command), stats) : "";
    }
    return text + latencyText("all", total(report));
}

std::string jsonOf(const Report& report)
{
    nlohmann::ordered_json json;
    json["connections"] = report.connections;
    json["seconds"] = report.seconds;
    json["requests"] = report.requests;
    json["requestsPerSecond"] = perSecond(report.requests, report.seconds);
    json["allRequests"] = report.allRequests;
    json["takes"] = report.takes;
    json["takesPerSecond"] = perSecond(report.takes, report.seconds);
    json["latency"] = latencyJson(total(report));
    for (const auto& [command, stats] : report.latencies)
    {
        if (stats.count() != 0)
        {
            json["perCommand"][nameOf(command)] = latencyJson(stats);
        }
    }
    for (const Clock::time_point at : report.changesCompleteAt)
    {
        json["changesCompleteAt"].push_back(at.time_since_epoch().count());
    }
    return json.dump() + "\n";
}

} // namespace korabench
