#include "tools/koractl/matrix/MatrixModel.h"

#include "koracommand/ResultCode.h"

#include <algorithm>

namespace koractl
{
namespace
{

using koraclient::LprState;
using koraclient::OutputRow;

std::string rangeText(const NumberRange& range)
{
    return std::to_string(range.first) + "-" + std::to_string(range.last);
}

} // namespace

MatrixModel::MatrixModel(std::uint32_t level, std::optional<NumberRange> outputLimit,
                         std::optional<NumberRange> inputLimit, const Names& names)
    : m_level(level), m_outputLimit(outputLimit), m_inputLimit(inputLimit), m_names(names)
{}

void MatrixModel::apply(const OutputRow& row)
{
    if (!m_outputLimit || m_outputLimit->contains(row.output))
    {
        m_outputs[row.output] = row;
    }
}

NumberRange MatrixModel::inputs() const
{
    if (m_inputLimit)
    {
        return *m_inputLimit;
    }
    NumberRange range{.first = 1, .last = std::max(1U, m_names.lastInput(m_level))};
    if (!m_outputs.empty())
    {
        range.first = std::min(range.last, m_outputLimit ? 1 : m_outputs.begin()->first);
        range.last = std::max(range.last, m_outputs.rbegin()->first);
    }
    for (const auto& [output, row] : m_outputs)
    {
        if (row.result == resultCode::done)
        {
            range.first = std::min(range.first, row.input);
            range.last = std::max(range.last, row.input);
        }
    }
    return range;
}

std::string MatrixModel::heading() const
{
    std::size_t routed = 0;
    std::size_t locked = 0;
    std::size_t isProtected = 0;
    for (const auto& [output, row] : m_outputs)
    {
        routed += row.result == resultCode::done ? 1U : 0U;
        locked += row.lpr && row.lpr->state == static_cast<std::uint32_t>(LprState::locked) ? 1U : 0U;
        isProtected += row.lpr && row.lpr->state == static_cast<std::uint32_t>(LprState::isProtected) ? 1U : 0U;
    }
    const std::string name = m_names.level(m_level);
    std::string text = "level " + std::to_string(m_level) + (name.empty() ? "" : " " + name) + ": ";
    if (m_outputs.empty())
    {
        return text + "no outputs";
    }
    text += "outputs " + rangeText({.first = m_outputs.begin()->first, .last = m_outputs.rbegin()->first});
    text += ", inputs " + rangeText(inputs()) + "; " + std::to_string(routed) + " routed, " + std::to_string(locked) +
            " locked, " + std::to_string(isProtected) + " protected";
    return text;
}

} // namespace koractl
