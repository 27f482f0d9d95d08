#include "tools/koractl/doctor/Judge.h"

namespace koractl
{

void Judge::service()
{
    if (unit() == nullptr)
    {
        return;
    }
    if (!unit()->isLoaded)
    {
        add(Severity::note, "no-service", "On this machine the bridge is not installed as a service.",
            "Nothing, if it is started by other means.", section::serviceDown);
        return;
    }
    if (unit()->active != "active" && unit()->active != "reloading")
    {
        const std::string why = unit()->result.empty() || unit()->result == "success" ? "" : ", " + unit()->result;
        add(Severity::error, "service-down", "The service korabridge does not run (" + unit()->active + why + ").",
            "Read 'journalctl -u korabridge', mend what it says, then 'systemctl enable --now korabridge'.",
            section::serviceDown);
    }
    else if (unit()->restarts >= manyRestarts)
    {
        add(Severity::warning, "restarts",
            "The service was started again " + std::to_string(unit()->restarts) + " times of its own accord.",
            "Read in 'journalctl -u korabridge' why it ended.", section::service);
    }
}

void Judge::port()
{
    const std::string where = m_facts.host + " port " + std::to_string(m_facts.port);
    switch (m_facts.link.port)
    {
    case PortState::answers:
        return;
    case PortState::refused:
        return closedPort();
    case PortState::noAnswer:
        return add(Severity::error, "no-answer",
                   "Nothing comes back from " + where +
                       ": the address is wrong, the machine is off, or a firewall drops it.",
                   "Check the address and the cable, then let the controllers' network reach the port in the firewall.",
                   section::nobodyAnswers);
    case PortState::unreachable:
        return add(Severity::error, "unreachable", "There is no way to " + where + ": " + m_facts.link.problem + ".",
                   "Check this machine's network and the address.", section::nobodyAnswers);
    case PortState::unknownHost:
        return add(Severity::error, "unknown-host", "Nobody knows the name " + m_facts.host + ".",
                   "Check the spelling, or give the address in numbers.", section::nobodyAnswers);
    case PortState::closes:
        return add(
            Severity::error, "closes",
            where +
                " closes connections at once: the last slot has just been taken, threads or memory are short, or the "
                "bridge is stopping.",
            "Look again in a minute; if it stays, read the end of the log.", section::noAnswers);
    case PortState::silent:
        return add(Severity::error, "silent", where + " accepts connections, and the bridge does not answer.",
                   "See whether its machine is overloaded or the process stopped; as a service it is started again "
                   "after 30 s.",
                   section::noAnswers);
    case PortState::foreign:
        return add(Severity::error, "foreign",
                   "What answers at " + where + " is no bridge (a web server, say): " + m_facts.link.problem + ".",
                   "Check address and port; on that machine 'ss -ltnp' shows which program it is.",
                   section::nobodyAnswers);
    }
}

/// Nobody listens: the bridge does so only while it has joined a router and has a free slot.
void Judge::closedPort()
{
    if (isFound("service-down"))
    {
        return;
    }
    const bool isTaken = logFacts() != nullptr && !logFacts()->portTaken.empty();
    const ConsoleFacts* const console = m_facts.console ? &*m_facts.console : nullptr;
    const bool isOperatorThere = console != nullptr && console->state == ConsoleFacts::State::answers;
    const double metered = freshMetrics() != nullptr ? freshMetrics()->controllers.value_or(0) : 0;
    const bool isFull = (isOperatorThere && console->controllers.value_or(0) >= numSlots) || metered >= numSlots ||
                        statusSays(", 16 controllers");
    const bool isInRouter = isOperatorThere && console->partition && !console->partition->empty();
    const bool hasNoRouter = (isOperatorThere && console->partition && console->partition->empty()) ||
                             statusSays("no router for frame") ||
                             (logFacts() != nullptr && logFacts()->isConnected == false);
    const bool isServiceUp = unit() != nullptr && unit()->active == "active";
    const std::string closed = "The port for controllers is closed: ";
    // Its files tell of a bridge that was; the service manager knows better.
    if (console != nullptr && console->state == ConsoleFacts::State::refused && !isServiceUp)
    {
        add(Severity::error, "not-running", "No bridge runs at " + m_facts.host + ": neither port is open.",
            "Start it there: 'systemctl enable --now korabridge'; or correct the address.", section::serviceDown);
    }
    else if (isTaken)
    {
        add(Severity::error, "port-taken", closed + "another program has it. The log says: " + logFacts()->portTaken,
            "Find that program with 'ss -ltnp' and end it.", section::sockets);
    }
    else if (isFull)
    {
        add(Severity::error, "slots-full", closed + "all 16 slots are taken.",
            "End controllers that are not needed; the console's 'Show Server Connections' lists them.",
            section::slotsFull);
    }
    else if (hasNoRouter)
    {
        add(Severity::error, "no-router", closed + "the bridge has not joined a router.",
            "Start the router, and see that it announces this bridge's frame (KORABRIDGE_FRAME_ID) on the same "
            "network.",
            section::cannotConnect);
    }
    else if (statusSays("joining ") || (isInRouter && console->controllers))
    {
        add(Severity::error, "joining", closed + "the bridge is joining its router.",
            "Look again in half a minute; if it stays, read the end of the log.", section::cannotConnect);
    }
    else if (isInRouter)
    {
        add(Severity::error, "port-closed",
            closed + "all 16 slots are taken, or the bridge is joining its router; its console did not say in time.",
            "Look again in half a minute.", section::cannotConnect);
    }
    else
    {
        add(Severity::error, "port-closed",
            closed + "the bridge is not running, has not joined a router, or all 16 slots are taken.",
            "Look at the bridge's console, or run this on its machine.", section::cannotConnect);
    }
}

} // namespace koractl
