#include "tests/simulation/World.h"

#include <algorithm>
#include <cstring>

namespace simulation
{

namespace
{

constexpr Time longestDelay{60'000};
constexpr Time shortestTake{1'000};
constexpr Time longestTake{60'000};
constexpr Time killLoses{100'000};
constexpr Time powerCutLoses{1'000'000};
/// Settling, the neighbours' second, the disk of the simulation, and the carriers' looks.
constexpr Time longestJoin{1'800'000};

/// Which of the decisions that were made it is.
std::size_t nameOf(const Decision& decision)
{
    std::uint64_t name = 0;
    std::memcpy(&name, decision.content.data(), sizeof(name));
    return static_cast<std::size_t>(name);
}

bool isOlder(const Decision& left, const Decision& right)
{
    return left.written != right.written ? left.written < right.written : left.content < right.content;
}

} // namespace

World::World(const Settings& settings)
    : m_settings(settings), m_events(settings.seed),
      m_network(m_events, settings.bridges + 1, longestDelay,
                [this](std::size_t node, std::size_t other, bool isThere) { onDiscovery(node, other, isThere); })
{
    for (std::size_t i = 0; i < settings.bridges; ++i)
    {
        m_bridges.push_back(std::make_unique<SimulatedBridge>(m_events, *this, i, settings.greatest, settings.isShared,
                                                              settings.sabotage));
        if (settings.areClocksApart)
        {
            m_bridges[i]->stepClock(static_cast<std::int64_t>(m_events.number(0, 4'000'000)) - 2'000'000);
        }
    }
}

std::vector<std::string> World::run()
{
    m_isRouterRunning = true;
    m_network.start(router());
    for (std::size_t i = 0; i < m_bridges.size(); ++i)
    {
        m_bridges[i]->start();
        m_network.start(i);
    }
    watchJoins();
    take();
    for (std::size_t i = 0; i < m_settings.faults; ++i)
    {
        m_events.runUntil(m_events.now() + m_events.between(Time(1'000), Time(1'500'000)));
        fault();
    }
    m_network.mendAll();
    if (!m_isRouterRunning)
    {
        m_isRouterRunning = true;
        m_network.start(router());
    }
    for (std::size_t i = 0; i < m_bridges.size(); ++i)
    {
        m_bridges[i]->setDiskFull(false);
        m_bridges[i]->setDiskUnreadable(false);
        if (!m_bridges[i]->isRunning())
        {
            m_bridges[i]->start();
            m_network.start(i);
        }
    }
    m_isCalm = true;
    m_events.runUntil(m_events.now() + m_settings.calm);
    checkEnd();
    return m_failures;
}

void World::onDiscovery(std::size_t node, std::size_t other, bool isThere)
{
    if (node == router())
    {
        return;
    }
    SimulatedBridge& bridge = *m_bridges[node];
    if (!bridge.isRunning())
    {
        return;
    }
    if (other == router())
    {
        if (isThere)
        {
            bridge.readerCame();
        }
        return;
    }
    bridge.neighbour(isThere ? m_bridges[other]->id() : m_knownAs[{node, other}], isThere);
    m_knownAs[{node, other}] = m_bridges[other]->id();
    if (isThere)
    {
        sendStatus(node, other);
        sendStatus(other, node);
    }
}

void World::sendStatus(std::size_t from, std::size_t to)
{
    const SimulatedBridge& sender = *m_bridges[from];
    if (sender.isRunning() && sender.lastStatus())
    {
        m_network.send(from, to, Network::Kind::Status, [this, to, id = sender.id(), status = *sender.lastStatus()] {
            m_bridges[to]->heard(id, status);
        });
    }
}

void World::tell(std::size_t bridge, const durability::Status& /*status*/)
{
    for (std::size_t other = 0; other < m_bridges.size(); ++other)
    {
        if (other != bridge)
        {
            sendStatus(bridge, other);
        }
    }
}

void World::handOver(std::size_t bridge, const durability::BucketRows& rows)
{
    for (std::size_t other = 0; other < m_bridges.size(); ++other)
    {
        if (other != bridge)
        {
            m_network.send(bridge, other, Network::Kind::Rows, [this, other, rows] { m_bridges[other]->heard(rows); });
        }
    }
}

void World::publish(std::size_t bridge, Instance instance, const Decision& decision)
{
    const std::size_t name = nameOf(decision);
    // The decision of a take is noted when the take returns.
    if (name < m_made.size() &&
        (m_made[name].decision.written != decision.written || m_made[name].instance != instance))
    {
        fail("published as a new decision: " + text(instance, &decision));
    }
    durability::SourceTime& last = m_published[{bridge, instance}];
    if (decision.written < last)
    {
        fail("published after something later: " + text(instance, &decision));
    }
    last = decision.written;
    for (std::size_t other = 0; other < m_bridges.size(); ++other)
    {
        if (other != bridge)
        {
            m_network.send(bridge, other, Network::Kind::Target,
                           [this, other, instance, decision] { m_bridges[other]->seen(instance, decision); });
        }
    }
    m_network.send(bridge, router(), Network::Kind::Target,
                   [this, instance, decision] { onRouter(instance, decision); });
}

void World::onRouter(Instance instance, const Decision& decision)
{
    m_onAir[instance] = decision;
}

void World::hasJoined(std::size_t /*bridge*/) {}

void World::take()
{
    m_events.after(m_events.between(shortestTake, longestTake), [this] {
        if (m_isCalm)
        {
            return;
        }
        const std::size_t index = m_events.index(m_bridges.size());
        SimulatedBridge& bridge = *m_bridges[index];
        if (bridge.isRunning() && bridge.isJoined())
        {
            // Few instances are taken often, so that decisions meet.
            const auto instance = static_cast<Instance>(m_events.chance(50) ? m_events.number(0, 3)
                                                                            : m_events.number(0, m_settings.greatest));
            const Decision* const known = bridge.known(instance);
            const Decision before = known == nullptr ? Decision{.written = -1, .content = {}} : *known;
            const Decision decision = bridge.take(instance, m_made.size());
            m_made.push_back({instance, decision, m_events.now(), index, bridge.life(), false});
            if (!isOlder(before, decision))
            {
                fail("older than what its author knew: " + text(instance, &decision));
            }
        }
        take();
    });
}

void World::fault()
{
    const std::size_t index = m_events.index(m_bridges.size());
    SimulatedBridge& bridge = *m_bridges[index];
    switch (m_events.number(0, 9))
    {
    case 0:
    case 1:
        if (bridge.isRunning())
        {
            endBridge(index);
        }
        else
        {
            bridge.start();
            m_network.start(index);
        }
        break;
    case 2:
    case 3: {
        const std::size_t other = m_events.index(m_bridges.size() + 1);
        if (other != index)
        {
            m_network.isCut(index, other) ? m_network.mend(index, other) : m_network.cut(index, other);
        }
        break;
    }
    case 4:
        if (bridge.isRunning())
        {
            m_network.dropUnderWay(index, Network::Kind::Target);
            bridge.announceMembership();
        }
        break;
    case 5:
        if (m_isRouterRunning)
        {
            m_network.end(router(), true);
            m_onAir.clear();
        }
        else
        {
            m_network.start(router());
        }
        m_isRouterRunning = !m_isRouterRunning;
        break;
    case 6:
        bridge.setDiskFull(m_settings.areDisksBad && !bridge.faults().isDiskFull);
        break;
    case 7:
        bridge.setDiskUnreadable(m_settings.areDisksBad && !bridge.faults().isDiskUnreadable);
        break;
    case 8:
        if (m_settings.areClocksApart)
        {
            bridge.stepClock(static_cast<std::int64_t>(m_events.number(0, 20'000'000)) - 10'000'000);
        }
        break;
    default:
        m_network.mendAll();
        break;
    }
}

void World::endBridge(std::size_t index)
{
    SimulatedBridge& bridge = *m_bridges[index];
    const auto how = static_cast<SimulatedBridge::End>(m_events.number(0, m_settings.arePowerCuts ? 2 : 1));
    const Time now = m_events.now();
    for (Made& made : m_made)
    {
        if (made.author != index)
        {
            continue;
        }
        const Decision* const stored = bridge.stored(made.instance);
        const bool isLostWithMemory =
            how == SimulatedBridge::End::PowerCut && (stored == nullptr || isOlder(*stored, made.decision)) &&
            (now - made.at <= powerCutLoses || now - bridge.lastDiskTrouble() <= powerCutLoses);
        const bool isLostWithProcess =
            how == SimulatedBridge::End::Kill && made.life == bridge.life() && now - made.at <= killLoses;
        made.isExcused = made.isExcused || isLostWithMemory || isLostWithProcess;
    }
    bridge.end(how);
    std::erase_if(m_published, [index](const auto& published) { return published.first.first == index; });
    m_network.end(index, how != SimulatedBridge::End::Clean);
}

void World::watchJoins()
{
    m_events.after(Time(100'000), [this] {
        for (std::size_t i = 0; i < m_bridges.size(); ++i)
        {
            const auto began = m_bridges[i]->joinBegan();
            if (m_bridges[i]->isRunning() && began && m_events.now() - *began > longestJoin * 3)
            {
                fail("a join does not end at bridge " + std::to_string(i));
            }
        }
        if (m_failures.empty())
        {
            watchJoins();
        }
    });
}

void World::checkEnd()
{
    for (Instance instance = 0; instance <= m_settings.greatest; ++instance)
    {
        const Decision* const first = m_bridges.front()->known(instance);
        for (std::size_t i = 1; i < m_bridges.size(); ++i)
        {
            const Decision* const other = m_bridges[i]->known(instance);
            if ((first == nullptr) != (other == nullptr) ||
                (first != nullptr && (isOlder(*first, *other) || isOlder(*other, *first))))
            {
                fail("bridges do not agree: 0 has " + text(instance, first) + ", " + std::to_string(i) + " has " +
                     text(instance, other));
            }
        }
        const auto found = m_onAir.find(instance);
        const Decision* const onAir = found == m_onAir.end() ? nullptr : &found->second;
        if (first == nullptr && onAir != nullptr && m_made.at(nameOf(*onAir)).isExcused)
        {
            continue; // lost with its author, before anybody else knew
        }
        if ((first == nullptr) != (onAir == nullptr) ||
            (first != nullptr && (isOlder(*first, *onAir) || isOlder(*onAir, *first))))
        {
            fail("on air is " + text(instance, onAir) + ", known is " + text(instance, first));
        }
        for (std::size_t i = 0; m_settings.isShared && i < m_bridges.size(); ++i)
        {
            const auto& table = m_bridges[i]->table();
            const auto target = table.find(instance);
            if (first != nullptr && (target == table.end() || isOlder(target->second, *first)))
            {
                fail("the table of bridge " + std::to_string(i) + " lacks " + text(instance, first) + ", it has " +
                     text(instance, target == table.end() ? nullptr : &target->second));
            }
        }
    }
    for (const Made& made : m_made)
    {
        const Decision* const known = m_bridges.front()->known(made.instance);
        if (!made.isExcused && (known == nullptr || isOlder(*known, made.decision)))
        {
            fail("lost: " + text(made.instance, &made.decision) + ", known is " + text(made.instance, known));
        }
    }
}

void World::fail(const std::string& what)
{
    constexpr std::size_t most = 10;
    if (m_failures.size() < most)
    {
        m_failures.push_back("at " + std::to_string(m_events.now().count()) + " us: " + what);
    }
}

std::string World::text(Instance instance, const Decision* decision) const
{
    if (decision == nullptr)
    {
        return std::to_string(instance) + "=nothing";
    }
    const std::size_t name = nameOf(*decision);
    std::string text =
        std::to_string(instance) + "=#" + std::to_string(name) + " written " + std::to_string(decision->written);
    if (name < m_made.size())
    {
        text += " by " + std::to_string(m_made[name].author) + " at " + std::to_string(m_made[name].at.count());
    }
    return text;
}

} // namespace simulation
