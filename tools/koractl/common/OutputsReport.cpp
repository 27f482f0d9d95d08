#include "tools/koractl/common/OutputsReport.h"

#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"
#include "tools/common/OutputFields.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace koractl
{

using koraclient::isStatusAnswered;
using koraclient::OutputRow;
using koraclient::statusResultText;

OutputsReport::OutputsReport(std::string command, std::uint32_t level, nlohmann::ordered_json details,
                             std::vector<OutputRow> rows, const Names& names)
    : m_command(std::move(command)), m_level(level), m_details(std::move(details)), m_rows(std::move(rows)),
      m_names(names)
{}

void OutputsReport::printText(std::ostream& out) const
{
    if (m_isLevelMissing)
    {
        out << statusResultText(resultCode::noSuchLevel, m_level, 0) << '\n';
        return;
    }
    if (m_rows.empty())
    {
        out << "no changes on level " << m_level << '\n';
        return;
    }
    const bool hasLpr = m_rows.front().lpr.has_value();
    std::vector<Table::Column> columns{{"LEVEL"}};
    addNamedColumn(columns, m_names, "OUTPUT");
    addNamedColumn(columns, m_names, "INPUT");
    if (hasLpr)
    {
        columns.push_back({"STATE", Table::Align::left});
    }
    columns.push_back({"RESULT", Table::Align::left});
    Table table(std::move(columns));
    for (const OutputRow& row : m_rows)
    {
        std::vector<std::string> cells{std::to_string(m_level)};
        addNamedCell(cells, m_names, std::to_string(row.output), m_names.output(m_level, row.output));
        addNamedCell(cells, m_names, row.inputText(), inputNameOf(row, m_level, m_names));
        if (hasLpr)
        {
            cells.push_back(row.stateText());
        }
        cells.push_back(statusResultText(row.result, m_level, row.output));
        table.addRow(std::move(cells));
    }
    table.print(out);
}

nlohmann::ordered_json OutputsReport::toJson() const
{
    nlohmann::ordered_json json{{"command", m_command}, {"done", isAllDone()}, {"level", m_level}};
    json.update(m_details);
    if (m_isLevelMissing)
    {
        json["text"] = statusResultText(resultCode::noSuchLevel, m_level, 0);
    }
    auto entries = nlohmann::ordered_json::array();
    for (const OutputRow& row : m_rows)
    {
        entries.push_back(fieldsOf(row, m_level, m_names));
    }
    json["entries"] = std::move(entries);
    return json;
}

bool OutputsReport::isAllDone() const
{
    return !m_isLevelMissing &&
           std::all_of(m_rows.begin(), m_rows.end(), [](const OutputRow& row) { return isStatusAnswered(row.result); });
}

} // namespace koractl
