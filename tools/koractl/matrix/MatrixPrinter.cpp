#include "tools/koractl/matrix/MatrixPrinter.h"

#include <utility>

#include "tools/koractl/matrix/MatrixReport.h"

namespace koractl
{

using koraclient::OutputRow;

MatrixPrinter::MatrixPrinter(CommandContext& context, MatrixModel model, std::size_t width, bool hasColor)
    : WatchPrinter(context), m_context(context), m_model(std::move(model)), m_width(width), m_hasColor(hasColor)
{}

void MatrixPrinter::changed(std::uint32_t level, const OutputRow& row)
{
    if (!m_isPrinted)
    {
        m_model.apply(row);
    }
    else
    {
        WatchPrinter::changed(level, row);
    }
}

void MatrixPrinter::roundEnded()
{
    if (!m_isPrinted)
    {
        m_isPrinted = true;
        (void)m_context.finish(MatrixReport(m_model, m_width, m_hasColor));
    }
}

} // namespace koractl
