#pragma once

#include "koraclient/KoraClient.h"
#include "tools/koractl/common/Report.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace koractl
{

/// Percentiles of the time from the sending of a request until its whole response was there. Plain value.
class LatencyReport : public Report
{
public:
    /// `command` is the command's name as the user types it; `total` is how long all requests took together.
    LatencyReport(std::string command, std::vector<std::chrono::nanoseconds> times, std::chrono::nanoseconds total,
                  bool isDone);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override { return m_isDone; }

private:
    /// Milliseconds that so many of a thousand requests did not exceed (nearest rank); only when there are times.
    double percentile(std::size_t permille) const;

    std::string m_command;
    std::vector<std::chrono::nanoseconds> m_times;
    std::chrono::nanoseconds m_total;
    bool m_isDone;
};

/// Makes a request `count` times over one connection and reports its times. When the bridge fails, the report holds the
/// times until then, and the trouble.
LatencyReport measure(koraclient::KoraClient& client, const std::string& command, std::uint32_t count,
                      const std::function<std::unique_ptr<Report>(koraclient::KoraClient&)>& request);

} // namespace koractl
