#include "tools/koractl/common/LatencyReport.h"

#include "koraclient/Errors.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>
#include <utility>

namespace koractl
{
namespace
{

using koraclient::KoraClient;
using koraclient::KoraError;

struct Percentile
{
    const char* heading;
    const char* key;
    std::size_t permille;
};

constexpr std::array percentiles{
    Percentile{"MIN", "min", 0},   Percentile{"P50", "p50", 500},     Percentile{"P90", "p90", 900},
    Percentile{"P99", "p99", 990}, Percentile{"P99.9", "p99.9", 999}, Percentile{"MAX", "max", 1000},
};

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string decimal(double value, int digits)
{
    char text[40];
    (void)std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

} // namespace

LatencyReport::LatencyReport(std::string command, std::vector<std::chrono::nanoseconds> times,
                             std::chrono::nanoseconds total, bool isDone)
    : m_command(std::move(command)), m_times(std::move(times)), m_total(total), m_isDone(isDone)
{
    std::sort(m_times.begin(), m_times.end());
}

double LatencyReport::percentile(std::size_t permille) const
{
    const std::size_t rank = (m_times.size() * permille + 999) / 1000;
    return milliseconds(m_times[rank == 0 ? 0 : rank - 1]);
}

void LatencyReport::printText(std::ostream& out) const
{
    const double seconds = milliseconds(m_total) / 1000;
    out << m_times.size() << " requests in " << decimal(seconds, 3) << " s";
    if (!m_times.empty() && seconds > 0)
    {
        out << ", " << decimal(static_cast<double>(m_times.size()) / seconds, 0) << " a second; milliseconds:";
    }
    out << '\n';
    if (m_times.empty())
    {
        return;
    }
    std::vector<Table::Column> columns;
    std::vector<std::string> cells;
    for (const Percentile& each : percentiles)
    {
        columns.push_back({each.heading});
        cells.push_back(decimal(percentile(each.permille), 3));
    }
    Table table(std::move(columns));
    table.addRow(std::move(cells));
    table.print(out);
}

nlohmann::ordered_json LatencyReport::toJson() const
{
    nlohmann::ordered_json json{{"command", m_command},
                                {"done", m_isDone && !trouble()},
                                {"requests", m_times.size()},
                                {"seconds", milliseconds(m_total) / 1000}};
    auto found = nlohmann::ordered_json::object();
    if (!m_times.empty())
    {
        for (const Percentile& each : percentiles)
        {
            found[each.key] = percentile(each.permille);
        }
    }
    json["milliseconds"] = std::move(found);
    return json;
}

LatencyReport measure(KoraClient& client, const std::string& command, std::uint32_t count,
                      const std::function<std::unique_ptr<Report>(KoraClient&)>& request)
{
    std::vector<std::chrono::nanoseconds> times;
    client.observeTimes([&times](std::chrono::nanoseconds time) { times.push_back(time); });
    const auto start = std::chrono::steady_clock::now();
    bool isDone = true;
    std::exception_ptr trouble;
    try
    {
        for (std::uint32_t i = 0; i < count && !trouble; ++i)
        {
            const auto report = request(client);
            isDone = isDone && report->isAllDone();
            trouble = report->trouble();
        }
    }
    catch (const KoraError&)
    {
        trouble = std::current_exception();
    }
    client.observeTimes({});
    LatencyReport report(command, std::move(times), std::chrono::steady_clock::now() - start, isDone);
    report.setTrouble(trouble);
    return report;
}

} // namespace koractl
