#include "tools/koractl/commands/SystemReports.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>

#include "koracommand/WireLayout.h"

namespace koractl
{
namespace
{

using koraclient::CardPresence;
using koraclient::PartitionInfo;
using koraclient::SystemStatus;

namespace wire = wireLayout;

/// Where the time lies in a status format, if it has one.
std::optional<std::size_t> timeOffset(std::uint32_t format)
{
    switch (format)
    {
    case 2:
        return wire::readySystemStatusRsp::format2Time;
    case 4:
        return wire::readySystemStatusRsp::format4Time;
    case 6:
        return wire::readySystemStatusRsp::format6Time;
    default:
        return std::nullopt;
    }
}

/// Without the machine's time_t: that of a 32-bit board ends in 2038, half-way through the word.
std::string utcText(std::uint32_t seconds)
{
    const std::chrono::sys_seconds moment{std::chrono::seconds(seconds)};
    const auto midnight = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(midnight);
    const std::chrono::hh_mm_ss time(moment - midnight);
    std::array<char, 40> text{};
    static_cast<void>(std::snprintf(
        text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d UTC", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count())));
    return text.data();
}

} // namespace

WordsReport partitionReport(const PartitionInfo& info)
{
    return WordsReport("partition information", {{"command", "partition"}, {"done", true}},
                       wire::partitionInfoRsp::words, {info.begin(), info.end()});
}

WordsReport portReport(std::uint32_t value)
{
    return WordsReport("router port", {{"command", "port"}, {"done", true}}, wire::routerPortPresentRsp::result,
                       {value});
}

WordsReport systemReport(const SystemStatus& status)
{
    const std::size_t first = wire::readySystemStatusRsp::words;
    nlohmann::ordered_json json{{"command", "system"}, {"done", true}, {"format", status.format}, {"time", nullptr}};
    const auto offset = timeOffset(status.format);
    std::string time;
    if (offset && (*offset - first) / wire::wordBytes < status.words.size())
    {
        const std::uint32_t seconds = status.words[(*offset - first) / wire::wordBytes];
        json["time"] = seconds;
        time = utcText(seconds);
    }
    WordsReport report("system status, format " + std::to_string(status.format), std::move(json), first, status.words);
    if (offset)
    {
        report.addRemark(*offset, time);
    }
    return report;
}

WordsReport cardReport(const CardPresence& presence)
{
    const std::size_t first = wire::ccPresenceRsp::reserved1;
    const bool isPresent = presence.words[(wire::ccPresenceRsp::present - first) / wire::wordBytes] != 0;
    return WordsReport("control card " + std::to_string(presence.word) +
                           (isPresent ? " is present" : " is not present"),
                       {{"command", "card"}, {"done", true}, {"card", presence.word}, {"present", isPresent}}, first,
                       {presence.words.begin(), presence.words.end()});
}

} // namespace koractl
