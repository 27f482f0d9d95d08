#include "tools/common/Table.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace koractl
{

Table::Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

void Table::addRow(std::vector<std::string> cells)
{
    cells.resize(m_columns.size());
    m_rows.push_back(std::move(cells));
}

void Table::print(std::ostream& out) const
{
    std::vector<std::vector<std::string>> lines(1);
    for (const Column& column : m_columns)
    {
        lines.front().push_back(column.heading);
    }
    lines.insert(lines.end(), m_rows.begin(), m_rows.end());

    std::vector<std::size_t> widths(m_columns.size(), 0);
    for (const auto& line : lines)
    {
        for (std::size_t i = 0; i < line.size(); ++i)
        {
            widths[i] = std::max(widths[i], displayWidth(line[i]));
        }
    }
    for (const auto& line : lines)
    {
        std::string text;
        for (std::size_t i = 0; i < line.size(); ++i)
        {
            text += (i == 0 ? "" : "  ");
            text += m_columns[i].align == Align::right ? padLeft(line[i], widths[i]) : padRight(line[i], widths[i]);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
    }
}

} // namespace koractl
