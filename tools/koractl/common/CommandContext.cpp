#include "tools/koractl/common/CommandContext.h"

#include "koraclient/Errors.h"
#include "runtime/util/VisibleText.h"
#include "tools/koractl/common/LatencyReport.h"

#include <CLI/CLI.hpp>

#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace koractl
{

using koraclient::KoraClient;

namespace
{

/// Whether another bridge may answer what this one has not.
bool isGone(const koraclient::KoraError& problem)
{
    return dynamic_cast<const koraclient::PeerClosed*>(&problem) != nullptr ||
           dynamic_cast<const koraclient::TimeoutError*>(&problem) != nullptr;
}

} // namespace

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

void CommandContext::chooseRequest(const std::string& name, Request request)
{
    m_chosen = [this, name, request = std::move(request)] {
        const std::unique_ptr<Report> report = ask(name, request);
        if (report->trouble())
        {
            sayNotSentAgain();
        }
        return finish(*report);
    };
}

void CommandContext::chooseQuery(const std::string& name, Request request)
{
    m_chosen = [this, name, request = std::move(request)] {
        for (std::size_t others = hosts().size() - 1;; --others)
        {
            std::unique_ptr<Report> report;
            try
            {
                report = ask(name, request);
            }
            catch (const koraclient::KoraError& problem)
            {
                if (others == 0 || !isGone(problem))
                {
                    throw;
                }
                warn(hosts().current() + ": " + problem.what() + "; asking the next bridge");
            }
            if (report)
            {
                return finish(*report);
            }
            hosts().skip();
        }
    };
}

std::unique_ptr<Report> CommandContext::ask(const std::string& name, const Request& request)
{
    KoraClient client = connect();
    return m_options.latencyCount > 0
               ? std::make_unique<LatencyReport>(measure(client, name, m_options.latencyCount, request))
               : request(client);
}

koraclient::BridgeHosts& CommandContext::hosts()
{
    if (!m_hosts)
    {
        m_hosts.emplace(m_options.hosts, m_options.port, m_options.timeout);
    }
    return *m_hosts;
}

KoraClient CommandContext::connect()
{
    KoraClient client = hosts().connect();
    for (const std::string& reason : hosts().passedBy())
    {
        warn(reason + "; using " + hosts().current());
    }
    return client;
}

std::function<KoraClient()> CommandContext::connector()
{
    return [this, isFirst = true]() mutable {
        if (std::exchange(isFirst, false))
        {
            return connect();
        }
        hosts().skip();
        return hosts().connect();
    };
}

void CommandContext::sayNotSentAgain()
{
    if (hosts().size() > 1)
    {
        warn(hosts().current() + " did not answer everything; nothing was sent to another bridge. 'koractl --host " +
             hosts().next() + " status' shows what was done");
    }
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
