#pragma once

#include "tools/koractl/matrix/MatrixModel.h"
#include "tools/koractl/watch/WatchPrinter.h"

namespace koractl
{

/// Prints the picture of a level once the watch has brought it, then each change as a line. For outputs that are no
/// terminal.
class MatrixPrinter : public WatchPrinter
{
public:
    MatrixPrinter(CommandContext& context, MatrixModel model, std::size_t width, bool hasColor);

    void changed(std::uint32_t level, const koraclient::OutputRow& row) override;
    void roundEnded() override;

private:
    const CommandContext& m_context;
    MatrixModel m_model;
    std::size_t m_width;
    bool m_hasColor;
    bool m_isPrinted = false;
};

} // namespace koractl
