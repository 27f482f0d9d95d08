#pragma once

#include "koraclient/AskOutputs.h"
#include "tools/common/Names.h"
#include "tools/koractl/common/Report.h"

#include <cstdint>
#include <string>
#include <vector>

namespace koractl
{

/// A list of outputs of one level: what tally, status and changes found. Plain value; refers to the names.
class OutputsReport : public Report
{
public:
    /// `command` is the command's name as the user types it; `details` are further fields of the JSON object, put after
    /// the level.
    OutputsReport(std::string command, std::uint32_t level, nlohmann::ordered_json details,
                  std::vector<koraclient::OutputRow> rows, const Names& names = Names::none());

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override;

    /// Called when the level turned out not to exist although no row says so.
    void markLevelMissing() { m_isLevelMissing = true; }

private:
    std::string m_command;
    std::uint32_t m_level;
    nlohmann::ordered_json m_details;
    std::vector<koraclient::OutputRow> m_rows;
    const Names& m_names;
    bool m_isLevelMissing = false;
};

} // namespace koractl
