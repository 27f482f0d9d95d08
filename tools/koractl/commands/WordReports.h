#pragma once

#include "koraclient/KoraTypes.h"
#include "koraclient/Message.h"
#include "tools/koractl/common/Report.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace koractl
{

/// Words of a response, shown with their byte offsets in the message. Plain value.
class WordsReport : public Report
{
public:
    /// `heading` is the first line of the text (none when empty); `json` is the finished JSON object; `firstOffset` is
    /// where `words` start in the message.
    WordsReport(std::string heading, nlohmann::ordered_json json, std::size_t firstOffset,
                std::vector<std::uint32_t> words, bool isDone = true);

    /// Adds a remark behind the word at a byte offset.
    void addRemark(std::size_t offset, std::string remark);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override { return m_isDone; }

private:
    std::string m_heading;
    nlohmann::ordered_json m_json;
    std::size_t m_firstOffset;
    std::vector<std::uint32_t> m_words;
    std::map<std::size_t, std::string> m_remarks;
    bool m_isDone;
};

/// Reports of the commands that answer with plain words. Pure functions.

WordsReport partitionReport(const koraclient::PartitionInfo& info);
WordsReport portReport(std::uint32_t value);
WordsReport systemReport(const koraclient::SystemStatus& status);
WordsReport cardReport(const koraclient::CardPresence& presence);

/// Messages as they came. Plain value.
class RawReport : public Report
{
public:
    explicit RawReport(std::vector<koraclient::Message> responses);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    /// False when one of them is the error response.
    bool isAllDone() const override;

private:
    std::vector<koraclient::Message> m_responses;
};

} // namespace koractl
