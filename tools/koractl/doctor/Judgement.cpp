#include "tools/koractl/doctor/Judgement.h"

#include "tools/koractl/doctor/Judge.h"

#include <algorithm>
#include <cmath>

namespace koractl
{

std::vector<Finding> Judge::all()
{
    service();
    port();
    answers();
    log();
    metrics();
    neighbours();
    clock();
    std::stable_sort(m_found.begin(), m_found.end(),
                     [](const Finding& a, const Finding& b) { return a.severity < b.severity; });
    return std::move(m_found);
}

void Judge::answers()
{
    const LinkFacts& link = m_facts.link;
    if (link.answer && *link.answer > longestAnswer)
    {
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(*link.answer).count();
        add(Severity::warning, "slow", "A first answer took " + std::to_string(took) + " ms.",
            "Measure it with 'koractl --latency 1000 status 1 1 1' here and on the bridge's machine.", section::slow);
    }
    if (link.outputs && *link.outputs > 0 && link.known == 0)
    {
        add(Severity::warning, "status-missing",
            "The router has said nothing of any output: it publishes no status, or nothing is routed.",
            "Take something; if 'koractl status' does not show it, look at the router.", section::statusMissing);
    }
}

void Judge::log()
{
    if (!m_facts.machine)
    {
        return;
    }
    if (logFacts() == nullptr)
    {
        if (!m_facts.machine->logProblem.empty())
        {
            add(Severity::note, "log-unread", "The log was not read: " + m_facts.machine->logProblem + ".",
                "Run this as root, or name the file with --log.", section::log);
        }
        return;
    }
    const LogFacts& log = *logFacts();
    if (!log.lackOfResources.empty())
    {
        add(Severity::error, "resources", "The bridge cannot start: " + log.lackOfResources,
            "Raise the limits of the unit, or free what another program holds.", section::starting);
    }
    if (!log.failedJoin.empty())
    {
        add(Severity::error, "join-failed", "The join fails and is tried again: " + log.failedJoin,
            "Mend the reason that it names: memory, or on a closed bus the permissions.", section::starting);
    }
    if (!log.portTaken.empty() && !isFound("port-taken"))
    {
        add(Severity::error, "port-taken", "Another program has a port of the bridge. The log says: " + log.portTaken,
            "Find that program with 'ss -ltnp' and end it.", section::sockets);
    }
    if (log.errors > 0)
    {
        add(Severity::warning, "log-errors",
            "The log has " + std::to_string(log.errors) + (log.errors == 1 ? " error" : " errors") +
                ", the last: " + log.lastError,
            "Keep the log and report it.", section::errors);
    }
    if (!log.slowReader.empty())
    {
        add(Severity::note, "slow-reader", "A process of the router was slow to answer a join: " + log.slowReader,
            "Nothing if the plant was starting; else check the router's load and network.", section::starting);
    }
}

void Judge::store()
{
    // Before its first join a bridge has nothing to store, and uses no store.
    const bool isBadByMetrics =
        freshMetrics() != nullptr && freshMetrics()->storeUsable == 0.0 && freshMetrics()->joins.value_or(0) > 0;
    const bool isBadByLog = logFacts() != nullptr && !logFacts()->storeTrouble.empty();
    // What is counted now says more than a line that was written once.
    const bool isGoodByMetrics = freshMetrics() != nullptr && freshMetrics()->storeUsable.value_or(0) > 0;
    if (!isBadByMetrics && !(statusSays("joined ") && statusSays("store not in use")) &&
        (!isBadByLog || isGoodByMetrics))
    {
        return;
    }
    add(Severity::error, "store",
        "Targets are not stored, and would not survive a restart" +
            (isBadByLog ? ": " + logFacts()->storeTrouble : std::string(".")),
        "Free disk space, or correct the owner of the store's directory; the bridge then goes on by itself.",
        section::store);
}

void Judge::metrics()
{
    store();
    if (!m_facts.machine || !m_facts.machine->metrics)
    {
        return;
    }
    if (freshMetrics() == nullptr)
    {
        add(m_facts.link.port == PortState::answers ? Severity::warning : Severity::error, "metrics-old",
            "The metrics file was last written " + std::to_string(m_facts.machine->metrics->age.count()) +
                " s ago, not 10: the bridge is gone, hangs, or writes another file.",
            "See whether the bridge runs; name the file it writes with --metrics.", section::metrics);
        return;
    }
    const MetricsFacts& metrics = *freshMetrics();
    if (metrics.readersMatched == 0.0 && metrics.joins.value_or(1) > 0)
    {
        add(Severity::error, "no-readers",
            "Nobody on the bus reads the targets: takes are answered and nothing switches.",
            "Look at the router's processes, and at the network between them and this machine.",
            section::nothingSwitches);
    }
    if (metrics.gateDropped.value_or(0) > 0)
    {
        add(Severity::warning, "dropped",
            "Of what others publish, " + std::to_string(std::llround(*metrics.gateDropped)) +
                " samples could not be and were dropped since the start.",
            "The log names who publishes them; correct it there.", section::metrics);
    }
}

void Judge::neighbours()
{
    if (logFacts() != nullptr && !logFacts()->silentNeighbours.empty())
    {
        add(Severity::warning, "neighbour-silent",
            "Another bridge of this router did not answer: " + logFacts()->silentNeighbours,
            "Start it, or look for what is between; nothing, if it is gone for good.", section::neighbourSilent);
    }
}

void Judge::clock()
{
    const auto& ahead = m_facts.link.clockAhead;
    if (ahead && (*ahead > mostClockDifference || *ahead < -mostClockDifference))
    {
        const auto seconds = ahead->count() < 0 ? -ahead->count() : ahead->count();
        add(Severity::warning, "clock",
            "The bridge's clock is " + std::to_string(seconds) + " s " + (ahead->count() < 0 ? "behind" : "ahead of") +
                " this machine's.",
            "Let both be synchronised (NTP).", section::clocks);
    }
    if (logFacts() != nullptr && !logFacts()->refusedTargets.empty())
    {
        add(Severity::warning, "refused-targets", "Targets of others are refused: " + logFacts()->refusedTargets,
            "Compare the clocks of all bridges, then look for a faulty publisher.", section::clocks);
    }
    if (m_facts.machine && m_facts.machine->isClockSynchronised == false)
    {
        const bool isAlone = freshMetrics() == nullptr || freshMetrics()->neighbours.value_or(0) == 0;
        add(isAlone ? Severity::note : Severity::warning, "clock-free", "This machine's clock is not synchronised.",
            "Let it be (NTP): bridges compare by their clocks what was decided later.", section::clocks);
    }
}

std::vector<Finding> judge(const Facts& facts)
{
    return Judge(facts).all();
}

std::string Facts::version() const
{
    if (machine && machine->metrics && !machine->metrics->version.empty() && machine->metrics->age <= oldestMetrics)
    {
        return machine->metrics->version;
    }
    return machine && machine->log ? machine->log->version : "";
}

} // namespace koractl
