#pragma once

#include "koraclient/AskOutputs.h"
#include "tools/common/Names.h"
#include "tools/common/ParseText.h"

#include <cstdint>
#include <optional>
#include <string>

namespace koractl
{

/// What the picture of a level shows: its outputs, and from which to which input. Plain value; refers to the names.
class MatrixModel
{
public:
    /// Limits leave out what the user does not want to see.
    MatrixModel(std::uint32_t level, std::optional<NumberRange> outputLimit, std::optional<NumberRange> inputLimit,
                const Names& names);

    /// Ignored for an output outside the limit.
    void apply(const koraclient::OutputRow& row);

    std::uint32_t level() const { return m_level; }
    const koraclient::LevelSnapshot& outputs() const { return m_outputs; }
    const Names& names() const { return m_names; }
    /// The inputs to draw. The link does not tell how many a level has: without a limit as many as it has outputs, and
    /// every one that is routed or has a name.
    NumberRange inputs() const;
    /// `level 1 video: outputs 1-288, inputs 1-288; 120 routed, 3 locked, 1 protected`.
    std::string heading() const;

private:
    std::uint32_t m_level;
    std::optional<NumberRange> m_outputLimit;
    std::optional<NumberRange> m_inputLimit;
    const Names& m_names;
    koraclient::LevelSnapshot m_outputs;
};

} // namespace koractl
