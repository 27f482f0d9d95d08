#include "tools/koractl/commands/WordReports.h"

#include "koraclient/Message.h"
#include "koracommand/WireLayout.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

namespace koractl
{

using koraclient::CardPresence;
using koraclient::hexText;
using koraclient::Message;
using koraclient::PartitionInfo;
using koraclient::SystemStatus;

WordsReport::WordsReport(std::string heading, nlohmann::ordered_json json, std::size_t firstOffset,
                         std::vector<std::uint32_t> words, bool isDone)
    : m_heading(std::move(heading)), m_json(std::move(json)), m_firstOffset(firstOffset), m_words(std::move(words)),
      m_isDone(isDone)
{}

void WordsReport::addRemark(std::size_t offset, std::string remark)
{
    m_remarks[offset] = std::move(remark);
}

void WordsReport::printText(std::ostream& out) const
{
    if (!m_heading.empty())
    {
        out << m_heading << '\n';
    }
    if (m_words.empty())
    {
        return;
    }
    Table table({{"OFFSET"}, {"HEX"}, {"DECIMAL"}, {"", Table::Align::left}});
    std::size_t offset = m_firstOffset;
    for (const std::uint32_t word : m_words)
    {
        const auto remark = m_remarks.find(offset);
        table.addRow({std::to_string(offset), hexText(word), std::to_string(word),
                      remark == m_remarks.end() ? "" : remark->second});
        offset += wireLayout::wordBytes;
    }
    table.print(out);
}

nlohmann::ordered_json WordsReport::toJson() const
{
    nlohmann::ordered_json json = m_json;
    json["words"] = m_words;
    return json;
}

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

RawReport::RawReport(std::vector<Message> responses) : m_responses(std::move(responses)) {}

void RawReport::printText(std::ostream& out) const
{
    if (m_responses.empty())
    {
        out << "sent\n";
    }
    for (const Message& message : m_responses)
    {
        WordsReport words("message " + hexText(message.id()) + ", " + std::to_string(message.size()) + " bytes", {}, 0,
                          message.words());
        words.addRemark(wireLayout::header::protocolType, "protocol type");
        words.addRemark(wireLayout::header::sequence, "sequence");
        words.addRemark(wireLayout::header::length, "length");
        words.addRemark(wireLayout::header::msgId, "message id");
        words.addRemark(wireLayout::rsp::tag, "tag");
        words.printText(out);
    }
}

nlohmann::ordered_json RawReport::toJson() const
{
    auto responses = nlohmann::ordered_json::array();
    for (const Message& message : m_responses)
    {
        responses.push_back({{"id", message.id()}, {"length", message.size()}, {"words", message.words()}});
    }
    return {{"command", "raw"}, {"done", isAllDone()}, {"responses", std::move(responses)}};
}

bool RawReport::isAllDone() const
{
    return std::none_of(m_responses.begin(), m_responses.end(),
                        [](const Message& message) { return message.id() == wireLayout::rspId::error; });
}

} // namespace koractl
