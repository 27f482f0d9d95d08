#pragma once

#include "tools/koractl/matrix/MatrixModel.h"

#include <cstdint>
#include <string>
#include <vector>

namespace koractl
{

/// Draws a level as lines of text: outputs downwards, inputs to the right, a letter at each crosspoint (o released, P
/// protected, L locked); behind each row the input in words, so that a row can be read without counting. Widths are
/// found once, from the model as it is then. Pure; refers to the model, which must outlive it.
class MatrixPicture
{
public:
    /// `width` is what a line may take; narrow ones leave out the words.
    MatrixPicture(const MatrixModel& model, std::size_t width, bool hasColor);

    /// How many inputs fit on a line.
    std::uint32_t columns() const { return m_columns; }
    /// Two lines that number the inputs from `first` on.
    std::vector<std::string> ruler(std::uint32_t first) const;
    /// One output with the inputs from `first` on; a marked one is one that has just changed.
    std::string row(const koraclient::OutputRow& row, std::uint32_t first, bool isMarked = false) const;
    /// The whole level: as many sections as it takes side by side, each with the outputs that show one of its inputs,
    /// so that each output appears once; then the outputs without a route.
    std::vector<std::string> sections() const;

private:
    std::string cells(const koraclient::OutputRow& row, std::uint32_t first) const;
    std::string words(const koraclient::OutputRow& row) const;
    std::string paint(const char* style, const std::string& text) const;
    void addUnrouted(std::vector<std::string>& lines) const;

    const MatrixModel& m_model;
    std::size_t m_width;
    bool m_hasColor;
    NumberRange m_inputs;
    std::size_t m_outputDigits = 0;
    std::size_t m_outputNameWidth = 0;
    std::size_t m_inputDigits = 0;
    std::size_t m_inputNameWidth = 0;
    std::size_t m_left = 0; ///< places before the first input
    bool m_hasWords = true;
    std::uint32_t m_columns = 0;
};

} // namespace koractl
