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
    flush();
    return report.isAllDone() ? ExitStatus::done : ExitStatus::refused;
}

void CommandContext::printLine(const std::string& line) const
{
    m_out << line << '\n';
    flush();
}

void CommandContext::warn(const std::string& text) const
{
    m_err << "koractl: " << text << '\n' << std::flush;
}

void CommandContext::flush() const
{
    m_out.flush();
    if (!m_out)
    {
        throw std::runtime_error("the output could not be written");
    }
}

} // namespace koractl
