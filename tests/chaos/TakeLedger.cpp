#include "tests/chaos/TakeLedger.h"

#include "tests/chaos/Verdict.h"

#include <algorithm>

namespace chaos
{

bool TakeLedger::sent(const Crosspoint& crosspoint, const Request& request)
{
    const std::lock_guard lock(m_mutex);
    return m_open.try_emplace(crosspoint, Open{request, std::nullopt, std::nullopt}).second;
}

void TakeLedger::acknowledged(const Crosspoint& crosspoint, Clock::time_point when)
{
    const std::lock_guard lock(m_mutex);
    const auto open = m_open.find(crosspoint);
    open->second.acknowledged = when;
    ++m_figures.acknowledged;
    settle(open);
}

void TakeLedger::refused(const Crosspoint& crosspoint)
{
    const std::lock_guard lock(m_mutex);
    const auto open = m_open.find(crosspoint);
    if (open->second.seen)
    {
        m_verdict.violation("take", "request " + std::to_string(open->second.request.number) + " for " +
                                        crosspoint.text() + " was refused and is on the bus");
    }
    ++m_figures.refused;
    m_figures.refusedTakes += open->second.request.input ? 1U : 0U;
    m_open.erase(open);
}

void TakeLedger::unanswered(const Crosspoint& crosspoint)
{
    const std::lock_guard lock(m_mutex);
    m_open.erase(crosspoint);
    ++m_figures.unanswered;
}

bool TakeLedger::expects(const Crosspoint& crosspoint, std::uint32_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto open = m_open.find(crosspoint);
    return open != m_open.end() && open->second.request.number == number && !open->second.seen;
}

void TakeLedger::seen(const Sighting& sighting, Clock::time_point when)
{
    const std::lock_guard lock(m_mutex);
    checkOrder(sighting);
    if (const auto overdue = m_overdue.find(sighting.number); overdue != m_overdue.end())
    {
        m_verdict.violation("take", "request " + std::to_string(sighting.number) + " came on the bus " +
                                        milliseconds(when - overdue->second) + " after its answer");
        m_overdue.erase(overdue);
    }
    const auto open = m_open.find(sighting.crosspoint);
    if (open == m_open.end() || open->second.request.number != sighting.number)
    {
        return;
    }
    const Request& request = open->second.request;
    if ((request.input && *request.input != sighting.input) ||
        (request.lprState && *request.lprState != sighting.lprState))
    {
        m_verdict.violation("take", "request " + std::to_string(request.number) + " for " + sighting.crosspoint.text() +
                                        " is on the bus as input " + std::to_string(sighting.input) + ", state " +
                                        std::to_string(sighting.lprState));
    }
    if (!open->second.seen)
    {
        open->second.seen = when;
        settle(open);
    }
}

void TakeLedger::settle(std::map<Crosspoint, Open>::iterator open)
{
    if (open->second.acknowledged && open->second.seen)
    {
        ++m_figures.found;
        m_figures.longest = std::max(m_figures.longest, *open->second.seen - *open->second.acknowledged);
        m_open.erase(open);
    }
}

void TakeLedger::checkOrder(const Sighting& sighting)
{
    if (sighting.number == 0)
    {
        return; // not one of ours
    }
    Newest& newest = m_newest[{sighting.partition, sighting.crosspoint}];
    // Samples of two writers may overtake each other on the way; then the times at which they were written decide.
    const bool isLater = sighting.writer == newest.writer || sighting.written > newest.written;
    if (sighting.number < newest.number && isLater)
    {
        m_verdict.violation("take", "request " + std::to_string(newest.number) + " for " + sighting.crosspoint.text() +
                                        " was undone by request " + std::to_string(sighting.number) + " in partition " +
                                        sighting.partition);
    }
    if (sighting.number >= newest.number)
    {
        newest = {sighting.number, sighting.writer, sighting.written};
    }
}

void TakeLedger::check(Clock::time_point now)
{
    const std::lock_guard lock(m_mutex);
    for (auto open = m_open.begin(); open != m_open.end();)
    {
        const auto& [crosspoint, state] = *open;
        if (state.acknowledged && now - *state.acknowledged > m_bound)
        {
            m_verdict.violation("take", "request " + std::to_string(state.request.number) + " for " +
                                            crosspoint.text() + " was acknowledged " +
                                            milliseconds(now - *state.acknowledged) + " ago and is not on the bus");
            m_overdue.emplace(state.request.number, *state.acknowledged);
            open = m_open.erase(open);
        }
        else
        {
            ++open;
        }
    }
}

std::size_t TakeLedger::awaited() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_open.begin(), m_open.end(), [](const auto& open) { return open.second.acknowledged; }));
}

TakeLedger::Figures TakeLedger::figures() const
{
    const std::lock_guard lock(m_mutex);
    return m_figures;
}

} // namespace chaos
