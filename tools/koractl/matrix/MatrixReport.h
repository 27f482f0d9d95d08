#pragma once

#include "tools/koractl/common/Report.h"
#include "tools/koractl/matrix/MatrixModel.h"
#include "tools/koractl/watch/WatchPrinter.h"

#include <utility>

namespace koractl
{

/// The picture of a level, printed once. Plain value; refers to the model's names.
class MatrixReport : public Report
{
public:
    MatrixReport(MatrixModel model, std::size_t width, bool hasColor)
        : m_model(std::move(model)), m_width(width), m_hasColor(hasColor)
    {}

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    /// True unless an output could not be asked for.
    bool isAllDone() const override;

private:
    MatrixModel m_model;
    std::size_t m_width;
    bool m_hasColor;
};

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
