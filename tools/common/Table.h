#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace koractl
{

/// Places that a UTF-8 text takes on a line; every character counts as one.
inline std::size_t displayWidth(const std::string& text)
{
    std::size_t width = 0;
    for (const char c : text)
    {
        width += (static_cast<unsigned char>(c) & 0xc0U) == 0x80U ? 0U : 1U;
    }
    return width;
}

/// The text with blanks behind it up to a width; a longer one as it is.
inline std::string padRight(std::string text, std::size_t width)
{
    const std::size_t has = displayWidth(text);
    return has < width ? text.append(width - has, ' ') : text;
}

/// The text with blanks before it up to a width; a longer one as it is.
inline std::string padLeft(const std::string& text, std::size_t width)
{
    const std::size_t has = displayWidth(text);
    return has < width ? std::string(width - has, ' ') + text : text;
}

/// At most `width` places of the text; what was cut is marked by a tilde.
inline std::string cutToWidth(const std::string& text, std::size_t width)
{
    if (displayWidth(text) <= width)
    {
        return text;
    }
    std::string cut;
    std::size_t places = 0;
    for (const char c : text)
    {
        places += (static_cast<unsigned char>(c) & 0xc0U) == 0x80U ? 0U : 1U;
        if (places >= width)
        {
            break;
        }
        cut += c;
    }
    return width == 0 ? "" : cut + "~";
}

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
