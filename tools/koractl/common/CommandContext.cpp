#include "tools/koractl/common/CommandContext.h"

#include "runtime/util/VisibleText.h"
#include "tools/koractl/common/LatencyReport.h"

#include <CLI/CLI.hpp>

#include <ostream>
#include <sstream>
#include <stdexcept>

namespace koractl
{

using koraclient::KoraClient;

const Names& CommandContext::names()
{
    if (!m_names)
    {
        m_names = m_options.namesFile.empty() ? Names() : Names::load(m_options.namesFile);
    }
    return *m_names;
}

void CommandContext::choose(std::function<ExitStatus()> command)
{
    if (m_options.latencyCount > 0)
    {
        throw CLI::ValidationError("--latency", "this command is not a single request that can be measured");
    }
    m_chosen = std::move(command);
}

void CommandContext::chooseRequest(const std::string& name, std::function<std::unique_ptr<Report>(KoraClient&)> request)
{
    m_chosen = [this, name, request = std::move(request)] {
        KoraClient client = connect();
        return m_options.latencyCount > 0 ? finish(measure(client, name, m_options.latencyCount, request))
                                          : finish(*request(client));
    };
}

ExitStatus CommandContext::finish(const Report& report) const
{
    if (m_options.json)
    {
        m_streams.out << report.toJson().dump() << '\n';
    }
    else
    {
        report.printText(m_streams.out);
    }
    flush();
    if (report.trouble())
    {
        std::rethrow_exception(report.trouble());
    }
    return report.isAllDone() ? ExitStatus::done : ExitStatus::refused;
}

void CommandContext::printLine(const std::string& line) const
{
    m_streams.out << line << '\n';
    flush();
}

void CommandContext::warn(const std::string& text) const
{
    // Complaints have several lines, and quote files and what others have sent.
    std::istringstream lines(text);
    std::string visible;
    for (std::string line; std::getline(lines, line);)
    {
        visible += com::tallowcrest::util::visibleText(line) + '\n';
    }
    m_streams.err << "koractl: " << visible << std::flush;
}

void CommandContext::flush() const
{
    m_streams.out.flush();
    if (!m_streams.out)
    {
        throw std::runtime_error("the output could not be written");
    }
}

} // namespace koractl
