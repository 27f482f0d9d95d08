#include "tools/koractl/LprReport.h"

#include <algorithm>
#include <utility>

#include "tools/koractl/ResultText.h"
#include "tools/koractl/Table.h"

namespace koractl
{
namespace
{

std::string textOf(const LprRow& row)
{
    return lprResultText(row.result, row.entry.level, row.entry.output, row.holder);
}

} // namespace

LprReport::LprReport(std::string command, std::vector<LprRow> rows)
    : m_command(std::move(command)), m_rows(std::move(rows))
{}

void LprReport::printText(std::ostream& out) const
{
    Table table({{"LEVEL"}, {"OUTPUT"}, {"LPR-ID"}, {"RESULT", Table::Align::left}});
    for (const LprRow& row : m_rows)
    {
        table.addRow({std::to_string(row.entry.level), std::to_string(row.entry.output),
                      std::to_string(row.entry.lprId), textOf(row)});
    }
    table.print(out);
}

nlohmann::ordered_json LprReport::toJson() const
{
    auto entries = nlohmann::ordered_json::array();
    for (const LprRow& row : m_rows)
    {
        nlohmann::ordered_json entry{{"level", row.entry.level}, {"output", row.entry.output},
                                     {"lprId", row.entry.lprId}, {"result", row.result},
                                     {"done", row.result == 0},  {"text", textOf(row)}};
        if (row.holder)
        {
            entry["holder"] = *row.holder;
        }
        entries.push_back(std::move(entry));
    }
    return {{"command", m_command}, {"done", isAllDone()}, {"entries", std::move(entries)}};
}

bool LprReport::isAllDone() const
{
    return std::all_of(m_rows.begin(), m_rows.end(), [](const LprRow& row) { return row.result == 0; });
}

} // namespace koractl
