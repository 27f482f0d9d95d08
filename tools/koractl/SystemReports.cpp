#include "tools/koractl/SystemReports.h"

#include <array>
#include <ctime>
#include <optional>
#include <string>

#include "koracommand/WireLayout.h"

namespace koractl
{
namespace
{

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

std::string utcText(std::uint32_t seconds)
{
    const std::time_t time = seconds;
    std::tm parts{};
    std::array<char, 40> text{};
    if (::gmtime_r(&time, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts) == 0)
    {
        return "";
    }
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
