#include "tools/koractl/commands/EntryReports.h"

#include "koraclient/ResultText.h"
#include "tools/common/OutputFields.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <utility>

namespace koractl
{

namespace
{

using koraclient::lprResultText;
using koraclient::takeResultText;

std::string textOf(const TakeRow& row)
{
    return !row.outcome.isAnswered()
               ? row.outcome.missingText()
               : takeResultText(row.outcome.result, row.entry.level, row.entry.input, row.entry.output, row.holder);
}

} // namespace

TakeReport::TakeReport(std::string command, std::vector<TakeRow> rows, const Names& names)
    : m_command(std::move(command)), m_rows(std::move(rows)), m_names(names)
{}

void TakeReport::printText(std::ostream& out) const
{
    std::vector<Table::Column> columns{{"LEVEL"}};
    addNamedColumn(columns, m_names, "INPUT");
    addNamedColumn(columns, m_names, "OUTPUT");
    columns.push_back({"RESULT", Table::Align::left});
    Table table(std::move(columns));
    for (const TakeRow& row : m_rows)
    {
        const auto [level, lprId, input, output] = row.entry;
        std::vector<std::string> cells{std::to_string(level)};
        addNamedCell(cells, m_names, std::to_string(input), m_names.input(level, input));
        addNamedCell(cells, m_names, std::to_string(output), m_names.output(level, output));
        cells.push_back(textOf(row));
        table.addRow(std::move(cells));
    }
    table.print(out);
}

nlohmann::ordered_json TakeReport::toJson() const
{
    auto entries = nlohmann::ordered_json::array();
    for (const TakeRow& row : m_rows)
    {
        nlohmann::ordered_json entry{
            {"level", row.entry.level}, {"input", row.entry.input},        {"output", row.entry.output},
            {"lprId", row.entry.lprId}, {"result", resultOf(row.outcome)}, {"done", row.outcome.isDone()},
            {"text", textOf(row)}};
        addName(entry, "inputName", m_names.input(row.entry.level, row.entry.input));
        addName(entry, "outputName", m_names.output(row.entry.level, row.entry.output));
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
    return std::all_of(m_rows.begin(), m_rows.end(), [](const TakeRow& row) { return row.outcome.isDone(); });
}

namespace
{

std::string textOf(const LprRow& row)
{
    return !row.outcome.isAnswered() ? row.outcome.missingText()
                                     : lprResultText(row.outcome.result, row.entry.level, row.entry.output, row.holder);
}

} // namespace

LprReport::LprReport(std::string command, std::vector<LprRow> rows, const Names& names)
    : m_command(std::move(command)), m_rows(std::move(rows)), m_names(names)
{}

void LprReport::printText(std::ostream& out) const
{
    std::vector<Table::Column> columns{{"LEVEL"}};
    addNamedColumn(columns, m_names, "OUTPUT");
    columns.push_back({"LPR-ID"});
    columns.push_back({"RESULT", Table::Align::left});
    Table table(std::move(columns));
    for (const LprRow& row : m_rows)
    {
        const auto [level, output, command, lprId] = row.entry;
        std::vector<std::string> cells{std::to_string(level)};
        addNamedCell(cells, m_names, std::to_string(output), m_names.output(level, output));
        cells.push_back(std::to_string(lprId));
        cells.push_back(textOf(row));
        table.addRow(std::move(cells));
    }
    table.print(out);
}

nlohmann::ordered_json LprReport::toJson() const
{
    auto entries = nlohmann::ordered_json::array();
    for (const LprRow& row : m_rows)
    {
        nlohmann::ordered_json entry{{"level", row.entry.level},     {"output", row.entry.output},
                                     {"lprId", row.entry.lprId},     {"result", resultOf(row.outcome)},
                                     {"done", row.outcome.isDone()}, {"text", textOf(row)}};
        addName(entry, "outputName", m_names.output(row.entry.level, row.entry.output));
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
    return std::all_of(m_rows.begin(), m_rows.end(), [](const LprRow& row) { return row.outcome.isDone(); });
}

} // namespace koractl
