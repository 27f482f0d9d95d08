#include "tools/koractl/matrix/MatrixReport.h"

#include "koraclient/ResultText.h"
#include "tools/common/OutputFields.h"
#include "tools/koractl/matrix/MatrixPicture.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace koractl
{

using koraclient::isStatusAnswered;
using koraclient::OutputRow;

void MatrixReport::printText(std::ostream& out) const
{
    for (const std::string& line : MatrixPicture(m_model, m_width, m_hasColor).sections())
    {
        out << line << '\n';
    }
}

nlohmann::ordered_json MatrixReport::toJson() const
{
    const NumberRange inputs = m_model.inputs();
    nlohmann::ordered_json json{{"command", "matrix"}, {"done", isAllDone()}, {"level", m_model.level()}};
    addName(json, "levelName", m_model.names().level(m_model.level()));
    json["inputs"] = {inputs.first, inputs.last};
    auto entries = nlohmann::ordered_json::array();
    for (const auto& [output, row] : m_model.outputs())
    {
        entries.push_back(fieldsOf(row, m_model.level(), m_model.names()));
    }
    json["entries"] = std::move(entries);
    return json;
}

bool MatrixReport::isAllDone() const
{
    return std::all_of(m_model.outputs().begin(), m_model.outputs().end(),
                       [](const auto& each) { return isStatusAnswered(each.second.result); });
}

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
