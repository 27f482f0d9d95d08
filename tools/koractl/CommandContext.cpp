#include "tools/koractl/CommandContext.h"

#include <ostream>
#include <stdexcept>

namespace koractl
{

ExitStatus CommandContext::finish(const Report& report) const
{
    if (m_options.json)
    {
        m_out << report.toJson().dump() << '\n';
    }
    else
    {
        report.printText(m_out);
    }
    m_out.flush();
    if (!m_out)
    {
        throw std::runtime_error("the output could not be written");
    }
    return report.isAllDone() ? ExitStatus::done : ExitStatus::refused;
}

bool CommandContext::printLine(const std::string& line) const
{
    m_out << line << '\n' << std::flush;
    return m_out.good();
}

void CommandContext::warn(const std::string& text) const
{
    m_err << "koractl: " << text << '\n' << std::flush;
}

} // namespace koractl
