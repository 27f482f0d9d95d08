#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace koractl
{

/// Rows of text under headings, each column as wide as its widest cell, two blanks between columns. Numbers stand at
/// the right of their column, words at the left; no blanks at line ends. Plain value.
class Table
{
public:
    enum class Align
    {
        left,
        right,
    };
    struct Column
    {
        std::string heading;
        Align align = Align::right;
    };

    explicit Table(std::vector<Column> columns);

    /// One cell a column; a missing cell is empty, a surplus one is left out.
    void addRow(std::vector<std::string> cells);
    void print(std::ostream& out) const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace koractl
