#include "tools/koractl/matrix/MatrixPicture.h"

#include "koracommand/ResultCode.h"
#include "tools/common/OutputFields.h"
#include "tools/common/Table.h"

#include <algorithm>

namespace koractl
{
namespace
{

using koraclient::LevelSnapshot;
using koraclient::LprState;
using koraclient::OutputRow;

constexpr std::size_t widestName = 16;
constexpr std::size_t longestState = 23; ///< "protected by 4294967295"
constexpr std::size_t leastColumns = 20; ///< with fewer the words give way to the picture

constexpr const char* faint = "\x1b[2m";
constexpr const char* bold = "\x1b[1m";
constexpr const char* green = "\x1b[1;32m";
constexpr const char* yellow = "\x1b[1;33m";
constexpr const char* red = "\x1b[1;31m";
constexpr const char* plain = "\x1b[0m";

struct Mark
{
    char letter;
    const char* style;
};

Mark markOf(const OutputRow& row)
{
    if (!row.lpr || !row.lpr->isHeld())
    {
        return {.letter = 'o', .style = green};
    }
    return row.lpr->state == static_cast<std::uint32_t>(LprState::locked) ? Mark{.letter = 'L', .style = red}
                                                                          : Mark{.letter = 'P', .style = yellow};
}

} // namespace

MatrixPicture::MatrixPicture(const MatrixModel& model, std::size_t width, bool hasColor)
    : m_model(model), m_width(width), m_hasColor(hasColor), m_inputs(model.inputs())
{
    const LevelSnapshot& outputs = model.outputs();
    m_outputDigits = std::max<std::size_t>(std::to_string(outputs.empty() ? 0 : outputs.rbegin()->first).size(), 5);
    m_inputDigits = std::max<std::size_t>(std::to_string(m_inputs.last).size(), 4);
    const std::size_t outputNames = model.names().outputWidth(model.level());
    const std::size_t inputNames = model.names().inputWidth(model.level());
    m_outputNameWidth = std::min(outputNames, widestName);
    m_inputNameWidth = std::min(inputNames, widestName);
    m_left = 1 + m_outputDigits + (m_outputNameWidth > 0 ? 1 + m_outputNameWidth : 0) + 2;
    std::size_t stateWidth = 0;
    for (const auto& [output, row] : outputs)
    {
        stateWidth = std::max(stateWidth, row.lpr && row.lpr->isHeld() ? row.lpr->text().size() : 0);
    }
    // Room for one lock at least, so that the picture keeps its form when the first one comes.
    stateWidth = std::min(std::max<std::size_t>(stateWidth, 12), longestState);
    const std::size_t right = 2 + m_inputDigits + (m_inputNameWidth > 0 ? 1 + m_inputNameWidth : 0) + 2 + stateWidth;
    m_hasWords = width >= m_left + right + leastColumns;
    const std::size_t taken = m_left + (m_hasWords ? right : 0);
    const std::size_t left = width > taken ? width - taken : 0;
    m_columns = static_cast<std::uint32_t>(
        std::clamp<std::size_t>(left, 10, std::max<std::size_t>(10, m_inputs.last - m_inputs.first + 1ULL)));
}

std::string MatrixPicture::paint(const char* style, const std::string& text) const
{
    return m_hasColor ? style + text + plain : text;
}

std::vector<std::string> MatrixPicture::ruler(std::uint32_t first) const
{
    constexpr std::uint32_t step = 5;
    std::string numbers;
    std::string ticks;
    for (std::uint32_t i = 0; i < m_columns && first + i <= m_inputs.last; ++i)
    {
        const std::uint32_t input = first + i;
        if ((i == 0 || input % step == 0) && numbers.size() <= i)
        {
            numbers.resize(i, ' ');
            ticks.resize(i, ' ');
            numbers += std::to_string(input) + " ";
            ticks += '|';
        }
    }
    numbers.erase(numbers.find_last_not_of(' ') + 1);
    return {paint(faint, padRight("OUTPUT", m_left - 2) + "  " + numbers),
            paint(faint, std::string(m_left, ' ') + ticks)};
}

std::string MatrixPicture::cells(const OutputRow& row, std::uint32_t first) const
{
    constexpr std::uint32_t step = 10;
    const std::uint32_t count = std::min(m_columns, first <= m_inputs.last ? m_inputs.last - first + 1 : 0);
    std::string before;
    std::string after;
    std::string at;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const std::uint32_t input = first + i;
        if (row.result == resultCode::done && row.input == input)
        {
            const Mark mark = markOf(row);
            at = paint(mark.style, std::string(1, mark.letter));
            continue;
        }
        (at.empty() ? before : after) += input % step == 0 ? ':' : '.';
    }
    return (before.empty() ? "" : paint(faint, before)) + at + (after.empty() ? "" : paint(faint, after)) +
           std::string(m_columns - count, ' ');
}

std::string MatrixPicture::words(const OutputRow& row) const
{
    if (!m_hasWords)
    {
        return "";
    }
    std::string text = "  " + padLeft(row.inputText(), m_inputDigits);
    if (m_inputNameWidth > 0)
    {
        text += " " + padRight(cutToWidth(inputNameOf(row, m_model.level(), m_model.names()), m_inputNameWidth),
                               m_inputNameWidth);
    }
    if (row.lpr && row.lpr->isHeld())
    {
        text += "  " + paint(markOf(row).style, row.lpr->text());
    }
    return text;
}

std::string MatrixPicture::row(const OutputRow& row, std::uint32_t first, bool isMarked) const
{
    std::string label = (isMarked ? "*" : " ") + padLeft(std::to_string(row.output), m_outputDigits);
    if (m_outputNameWidth > 0)
    {
        const std::string name = m_model.names().output(m_model.level(), row.output);
        label += " " + padRight(cutToWidth(name, m_outputNameWidth), m_outputNameWidth);
    }
    std::string line = (isMarked ? paint(bold, label) : label) + "  " + cells(row, first) + words(row);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> MatrixPicture::sections() const
{
    std::vector<std::string> lines{m_model.heading()};
    std::map<std::uint32_t, std::vector<const OutputRow*>> bySection;
    std::size_t elsewhere = 0;
    for (const auto& [output, row] : m_model.outputs())
    {
        if (row.result != resultCode::done)
        {
            continue;
        }
        if (m_inputs.contains(row.input))
        {
            bySection[(row.input - m_inputs.first) / m_columns].push_back(&row);
        }
        else
        {
            ++elsewhere;
        }
    }
    for (const auto& [section, rows] : bySection)
    {
        const std::uint32_t first = m_inputs.first + section * m_columns;
        lines.emplace_back();
        const auto numbers = ruler(first);
        lines.insert(lines.end(), numbers.begin(), numbers.end());
        for (const OutputRow* each : rows)
        {
            lines.push_back(row(*each, first));
        }
    }
    addUnrouted(lines);
    if (elsewhere > 0)
    {
        lines.emplace_back();
        lines.push_back(std::to_string(elsewhere) + (elsewhere == 1 ? " output shows" : " outputs show") +
                        " an input outside " + std::to_string(m_inputs.first) + "-" + std::to_string(m_inputs.last));
    }
    return lines;
}

void MatrixPicture::addUnrouted(std::vector<std::string>& lines) const
{
    std::vector<NumberRange> ranges;
    std::vector<std::string> held;
    for (const auto& [output, row] : m_model.outputs())
    {
        if (row.result == resultCode::done)
        {
            continue;
        }
        if (!ranges.empty() && ranges.back().last + 1 == output)
        {
            ranges.back().last = output;
        }
        else
        {
            ranges.push_back({.first = output, .last = output});
        }
        if (row.lpr && row.lpr->isHeld())
        {
            held.push_back("output " + std::to_string(output) + " without a route is " +
                           paint(markOf(row).style, row.lpr->text()));
        }
    }
    if (ranges.empty())
    {
        return;
    }
    lines.emplace_back();
    std::string line = "no route:";
    for (std::size_t i = 0; i < ranges.size(); ++i)
    {
        std::string piece = " " + std::to_string(ranges[i].first);
        if (ranges[i].last != ranges[i].first)
        {
            piece += "-" + std::to_string(ranges[i].last);
        }
        piece += i + 1 < ranges.size() ? "," : "";
        if (line.size() + piece.size() > std::max<std::size_t>(m_width, leastColumns))
        {
            lines.push_back(line);
            line = "         ";
        }
        line += piece;
    }
    lines.push_back(line);
    lines.insert(lines.end(), held.begin(), held.end());
}

} // namespace koractl
