#include "tests/simulation/Network.h"

#include <algorithm>
#include <utility>

namespace simulation
{

namespace
{

constexpr Time longestDiscovery{250'000};
constexpr Time longestNotice{1'500'000}; ///< until somebody who is out of reach is given up
constexpr Time shortestNotice{300'000};

} // namespace

Network::Network(Events& events, std::size_t nodes, Time longestDelay, Discovery discovery)
    : m_events(events), m_nodes(nodes), m_longestDelay(longestDelay), m_discovery(std::move(discovery)),
      m_links(nodes * nodes), m_isRunning(nodes)
{}

void Network::start(std::size_t node)
{
    m_isRunning[node] = true;
    for (std::size_t other = 0; other < m_nodes; ++other)
    {
        if (other != node && m_isRunning[other] && !link(node, other).isCut)
        {
            find(node, other);
            find(other, node);
        }
    }
}

void Network::end(std::size_t node, bool isLost)
{
    m_isRunning[node] = false;
    for (std::size_t other = 0; other < m_nodes; ++other)
    {
        if (other == node)
        {
            continue;
        }
        Link& out = link(node, other);
        Link& in = link(other, node);
        out.isFound = false;
        ++out.finding;
        out.held.clear();
        in.held.clear();
        for (std::size_t kind = 0; kind < numKinds; ++kind)
        {
            ++in.epoch[kind];
            out.epoch[kind] += isLost ? 1 : 0;
        }
        // The others may notice after it has come back: that is a new life, which they find when they have.
        const std::uint64_t finding = ++in.finding;
        if (in.isFound)
        {
            in.isFound = false;
            m_events.after(m_events.between(Time(0), Time(100'000)), [this, node, other, finding] {
                if (m_isRunning[other] && link(other, node).finding == finding)
                {
                    m_discovery(other, node, false);
                }
            });
        }
    }
}

void Network::find(std::size_t node, std::size_t other)
{
    Link& out = link(node, other);
    const std::uint64_t finding = ++out.finding;
    m_events.after(m_events.between(Time(1'000), longestDiscovery), [this, node, other, finding] {
        Link& found = link(node, other);
        if (found.finding == finding && m_isRunning[node] && m_isRunning[other] && !found.isCut)
        {
            found.isFound = true;
            m_discovery(node, other, true);
            release(other, node);
        }
    });
}

void Network::lose(std::size_t node, std::size_t other)
{
    Link& out = link(node, other);
    ++out.finding;
    out.held.clear();
    for (std::uint64_t& epoch : out.epoch)
    {
        ++epoch;
    }
    if (std::exchange(out.isFound, false) && m_isRunning[node])
    {
        m_discovery(node, other, false);
    }
}

void Network::cut(std::size_t one, std::size_t other)
{
    if (link(one, other).isCut)
    {
        return;
    }
    for (const auto& [from, to] : {std::pair(one, other), std::pair(other, one)})
    {
        Link& out = link(from, to);
        out.isCut = true;
        const std::uint64_t finding = ++out.finding;
        m_events.after(m_events.between(shortestNotice, longestNotice), [this, from = from, to = to, finding] {
            if (link(from, to).isCut && link(from, to).finding == finding)
            {
                lose(from, to);
            }
        });
    }
}

void Network::mend(std::size_t one, std::size_t other)
{
    if (!link(one, other).isCut)
    {
        return;
    }
    for (const auto& [from, to] : {std::pair(one, other), std::pair(other, one)})
    {
        link(from, to).isCut = false;
        ++link(from, to).finding;
    }
    if (!m_isRunning[one] || !m_isRunning[other])
    {
        return;
    }
    for (const auto& [from, to] : {std::pair(one, other), std::pair(other, one)})
    {
        if (link(from, to).isFound)
        {
            release(from, to);
        }
        else
        {
            find(from, to);
        }
    }
}

void Network::mendAll()
{
    for (std::size_t one = 0; one < m_nodes; ++one)
    {
        for (std::size_t other = one + 1; other < m_nodes; ++other)
        {
            mend(one, other);
        }
    }
}

void Network::send(std::size_t from, std::size_t to, Kind kind, std::function<void()> arrive)
{
    Link& out = link(from, to);
    if (!out.isFound)
    {
        return;
    }
    if (out.isCut || !link(to, from).isFound)
    {
        out.held.emplace_back(kind, std::move(arrive));
        return;
    }
    deliver(from, to, kind, std::move(arrive));
}

void Network::release(std::size_t from, std::size_t to)
{
    Link& out = link(from, to);
    if (!out.isFound || !link(to, from).isFound || out.isCut)
    {
        return;
    }
    for (auto& [kind, arrive] : std::exchange(out.held, {}))
    {
        deliver(from, to, kind, std::move(arrive));
    }
}

void Network::deliver(std::size_t from, std::size_t to, Kind kind, std::function<void()> arrive)
{
    const auto index = static_cast<std::size_t>(kind);
    Link& out = link(from, to);
    // Most are quick; a packet that is lost comes with the next repair.
    const Time delay =
        m_events.chance(90) ? m_events.between(Time(100), Time(2'000)) : m_events.between(Time(2'000), m_longestDelay);
    out.lastArrival[index] = std::max(out.lastArrival[index], m_events.now() + delay);
    m_events.after(out.lastArrival[index] - m_events.now(),
                   [this, from, to, index, epoch = out.epoch[index], arrive = std::move(arrive)] {
                       if (m_isRunning[to] && link(from, to).epoch[index] == epoch)
                       {
                           arrive();
                       }
                   });
}

void Network::dropUnderWay(std::size_t from, Kind kind)
{
    for (std::size_t to = 0; to < m_nodes; ++to)
    {
        if (to != from)
        {
            Link& out = link(from, to);
            ++out.epoch[static_cast<std::size_t>(kind)];
            std::erase_if(out.held, [kind](const auto& held) { return held.first == kind; });
        }
    }
}

} // namespace simulation
