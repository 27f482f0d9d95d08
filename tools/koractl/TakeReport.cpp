#include "tools/koractl/TakeReport.h"

#include <algorithm>
#include <utility>

#include "tools/koractl/ResultText.h"
#include "tools/koractl/Table.h"

namespace koractl
{
namespace
{

std::string textOf(const TakeRow& row)
{
    return takeResultText(row.result, row.entry.level, row.entry.input, row.entry.output, row.holder);
}

} // namespace

TakeReport::TakeReport(std::string command, std::vector<TakeRow> rows)
    : m_command(std::move(command)), m_rows(std::move(rows))
{}

void TakeReport::printText(std::ostream& out) const
{
    Table table({{"LEVEL"}, {"INPUT"}, {"OUTPUT"}, {"RESULT", Table::Align::left}});
    for (const TakeRow& row : m_rows)
    {
        table.addRow({std::to_string(row.entry.level), std::to_string(row.entry.input),
                      std::to_string(row.entry.output), textOf(row)});
    }
    table.print(out);
}

nlohmann::ordered_json TakeReport::toJson() const
{
    auto entries = nlohmann::ordered_json::array();
    for (const TakeRow& row : m_rows)
    {
        nlohmann::ordered_json entry{{"level", row.entry.level},   {"input", row.entry.input},
                                     {"output", row.entry.output}, {"lprId", row.entry.lprId},
                                     {"result", row.result},       {"done", row.result == 0},
                                     {"text", textOf(row)}};
        if (row.holder)
        {
            entry["holder"] = *row.holder;
        }
        entries.push_back(std::move(entry));
    }
    return {{"command", m_command}, {"done", isAllDone()}, {"entries", std::move(entries)}};
}

bool TakeReport::isAllDone() const
{
    return std::all_of(m_rows.begin(), m_rows.end(), [](const TakeRow& row) { return row.result == 0; });
}

} // namespace koractl
