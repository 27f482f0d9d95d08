#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/koractl/KoraTypes.h"
#include "tools/koractl/Report.h"

namespace koractl
{

/// Outcome of one take entry; `holder` is who locks or protects the output, when that was the reason and is known.
struct TakeRow
{
    TakeEntry entry;
    std::uint32_t result = 0;
    std::optional<std::uint32_t> holder;
};

/// Outcome of a take or a coherent take. Plain value.
class TakeReport : public Report
{
public:
    /// `command` is the command's name as the user types it.
    TakeReport(std::string command, std::vector<TakeRow> rows);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override;

private:
    std::string m_command;
    std::vector<TakeRow> m_rows;
};

} // namespace koractl
