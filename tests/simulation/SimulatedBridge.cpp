#include "tests/simulation/SimulatedBridge.h"

#include <algorithm>
#include <cstring>

namespace simulation
{

namespace
{

constexpr std::int64_t wallAtStart = 1'800'000'000'000'000;
constexpr Time commitInterval{500'000};
constexpr Time longestSync{300'000};
constexpr Time longestGathering{40'000};
constexpr Time apartmentDelay{15'000};
constexpr Time longestLook{5'000};

int order(const std::string& left, const std::string& right)
{
    return left.compare(right);
}

std::uint64_t digest(const std::string& content)
{
    std::uint64_t name = 0;
    std::memcpy(&name, content.data(), std::min(content.size(), sizeof(name)));
    return name;
}

} // namespace

SimulatedBridge::SimulatedBridge(Events& events, IWorld& world, std::size_t index, Instance greatest, bool isShared,
                                 Sabotage sabotage)
    : m_events(events), m_world(world), m_index(index), m_greatest(greatest), m_isShared(isShared), m_sabotage(sabotage)
{}

durability::ChannelCore::Now SimulatedBridge::now() const
{
    return {m_events.now(), wallAtStart + m_events.now().count() + m_faults.clockOffset};
}

bool SimulatedBridge::isDiskInTrouble() const
{
    return m_faults.isDiskFull || m_faults.isDiskUnreadable || !m_isStoreRead;
}

SimulatedBridge::Time SimulatedBridge::lastDiskTrouble() const
{
    return isDiskInTrouble() ? m_events.now() : m_diskTrouble;
}

void SimulatedBridge::setDiskFull(bool isFull)
{
    m_diskTrouble = m_events.now();
    m_faults.isDiskFull = isFull;
}

void SimulatedBridge::setDiskUnreadable(bool isUnreadable)
{
    m_diskTrouble = m_events.now();
    m_faults.isDiskUnreadable = isUnreadable;
}

const Decision* SimulatedBridge::stored(Instance instance) const
{
    const auto found = m_disk.find(instance);
    return found == m_disk.end() ? nullptr : &found->second;
}

template <typename Event>
void SimulatedBridge::later(Time delay, Event event)
{
    m_events.after(delay, [this, life = m_life, event] {
        if (m_core && m_life == life)
        {
            event();
        }
    });
}

void SimulatedBridge::start()
{
    ++m_life;
    m_drainedAt = m_events.now();
    m_clock = std::make_unique<durability::HybridClock>();
    m_core = std::make_unique<durability::ChannelCore>(
        durability::ChannelCore::Settings{.greatest = m_greatest,
                                          .self = id(),
                                          .isShared = m_isShared,
                                          .started = m_events.now(),
                                          .rules = {.order = order, .digest = digest}},
        *m_clock);
    for (const auto& [instance, decision] : m_memory)
    {
        m_core->loaded(instance, decision, durability::ChannelCore::Kept::Memory, now());
    }
    later(m_events.between(Time(1'000), Time(200'000)), [this] { loadStore(); });
    later(m_events.between(Time(1'000), Time(400'000)), [this] { announceMembership(); });
    planLook();
    later(commitInterval, [this] { commit(); });
}

void SimulatedBridge::end(End how)
{
    if (how == End::Clean)
    {
        do
        {
            look();
        } while (!m_handedOver.empty());
        if (!m_faults.isDiskFull && m_isStoreRead)
        {
            storePending();
            m_memory.clear();
        }
    }
    if (how == End::PowerCut)
    {
        m_memory.clear();
    }
    m_core.reset();
    m_handedOver.clear();
    m_table.clear();
    m_lastStatus.reset();
    m_isJoined = false;
    m_isStoreRead = false;
    m_isCommitting = false;
    m_pending.clear();
    m_joinBegan.reset();
}

void SimulatedBridge::announceMembership()
{
    if (!m_joinBegan)
    {
        m_joinBegan = m_events.now();
    }
    m_core->join(++m_ticket, now());
}

Decision SimulatedBridge::take(Instance instance, std::uint64_t name)
{
    const durability::SourceTime time = m_sabotage == Sabotage::TrustsItsClock ? now().wall : m_clock->next(now().wall);
    Decision decision{.written = time, .content = std::string(sizeof(name), '\0')};
    std::memcpy(decision.content.data(), &name, sizeof(name));
    m_world.publish(m_index, instance, decision);
    m_table[instance] = decision;
    m_handedOver.push_back({instance, decision, false, m_events.now()});
    return decision;
}

void SimulatedBridge::seen(Instance instance, const Decision& decision)
{
    drain();
    m_core->seen(instance, decision, now());
    carryOut();
}

void SimulatedBridge::neighbour(durability::NeighbourId id, bool isThere)
{
    if (isThere)
    {
        m_core->neighbourCame(id, now());
    }
    else
    {
        m_core->neighbourWent(id, now());
    }
}

void SimulatedBridge::heard(durability::NeighbourId from, const durability::Status& status)
{
    m_core->heard(from, status, now());
}

void SimulatedBridge::heard(const durability::BucketRows& rows)
{
    drain();
    m_core->heard(rows, now());
    carryOut();
}

void SimulatedBridge::readerCame()
{
    m_core->readerCame(now());
}

void SimulatedBridge::planLook()
{
    later(m_core->isInHurry() ? Time(3'000) : m_events.between(Time(10'000), longestGathering), [this] {
        look();
        planLook();
    });
}

void SimulatedBridge::drain()
{
    // What is written while the recorder looks is handed over with the next look.
    std::vector<Written> later;
    if (m_events.chance(20))
    {
        const auto first = std::find_if(m_handedOver.begin(), m_handedOver.end(), [&](const Written& written) {
            return written.at >= m_events.now() - longestLook;
        });
        later.assign(std::make_move_iterator(first), std::make_move_iterator(m_handedOver.end()));
        m_handedOver.erase(first, m_handedOver.end());
    }
    for (Written& written : std::exchange(m_handedOver, std::move(later)))
    {
        if (written.isHistory)
        {
            m_core->published(written.instance, std::move(written.decision), m_drainedAt, now());
        }
        else
        {
            m_core->decided(written.instance, std::move(written.decision), m_drainedAt, now());
        }
    }
    m_drainedAt = m_handedOver.empty() ? m_events.now() : m_handedOver.front().at;
}

void SimulatedBridge::look()
{
    drain();
    m_core->tick(now());
    carryOut();
}

void SimulatedBridge::carryOut()
{
    const auto effects = m_core->takeEffects(now());
    for (const Instance instance : effects.remember)
    {
        if (m_sabotage != Sabotage::RemembersNothing)
        {
            m_memory[instance] = *m_core->known(instance);
        }
    }
    for (const Instance instance : effects.store)
    {
        m_pending[instance] = *m_core->known(instance);
    }
    for (const Instance instance : effects.publish)
    {
        if (m_sabotage == Sabotage::CorrectsNothing)
        {
            break;
        }
        later(apartmentDelay, [this, instance, decision = *m_core->known(instance)] { repeat(instance, decision); });
    }
    for (const Instance instance : effects.adopt)
    {
        later(apartmentDelay, [this, instance, decision = *m_core->known(instance)] { adopt(instance, decision); });
    }
    for (const durability::Bucket bucket : effects.handOver)
    {
        m_world.handOver(m_index, m_core->rows(bucket));
    }
    if (effects.isStatusNew && m_sabotage != Sabotage::TellsNothing)
    {
        m_lastStatus = m_core->status();
        m_world.tell(m_index, *m_lastStatus);
    }
    if (effects.completed && effects.completed->ticket == m_ticket)
    {
        later(apartmentDelay, [this] { deliverHistory(); });
    }
}

void SimulatedBridge::deliverHistory()
{
    for (const Instance instance : m_core->history())
    {
        Decision decision = *m_core->known(instance);
        if (m_sabotage == Sabotage::PublishesHistoryAsNew)
        {
            decision.written = m_clock->next(now().wall);
        }
        adopt(instance, decision);
        repeat(instance, decision);
    }
    m_isJoined = true;
    m_joinBegan.reset();
    m_world.hasJoined(m_index);
}

void SimulatedBridge::repeat(Instance instance, const Decision& decision)
{
    const auto target = m_table.find(instance);
    if (target == m_table.end() || target->second.written <= decision.written)
    {
        m_world.publish(m_index, instance, decision);
        m_handedOver.push_back({instance, decision, true, m_events.now()});
    }
}

void SimulatedBridge::adopt(Instance instance, const Decision& decision)
{
    Decision& target = m_table[instance];
    if (m_sabotage == Sabotage::AdoptsNothing)
    {
        return;
    }
    if (target.content.empty() || target.written <= decision.written)
    {
        target = decision;
    }
}

void SimulatedBridge::loadStore()
{
    if (m_sabotage == Sabotage::NeverReadsTheStore)
    {
        return;
    }
    if (!m_faults.isDiskUnreadable)
    {
        for (const auto& [instance, decision] : m_disk)
        {
            const auto pending = m_pending.find(instance);
            if (pending != m_pending.end() && pending->second.written < decision.written)
            {
                m_pending.erase(pending);
            }
        }
        m_isStoreRead = true;
        m_diskTrouble = m_events.now();
        later(m_events.between(Time(0), longestGathering), [this, rows = m_disk] {
            for (const auto& [instance, decision] : rows)
            {
                m_core->loaded(instance, decision, durability::ChannelCore::Kept::Store, now());
            }
            m_core->storeTried();
        });
        return;
    }
    m_core->storeTried();
    later(Time(1'000'000), [this] { loadStore(); });
}

void SimulatedBridge::commit()
{
    later(commitInterval, [this] { commit(); });
    if (m_isCommitting || !m_isStoreRead || m_pending.empty())
    {
        return;
    }
    m_isCommitting = true;
    later(m_events.between(Time(1'000), longestSync), [this, rows = m_pending] {
        m_isCommitting = false;
        if (m_faults.isDiskFull)
        {
            return;
        }
        for (const auto& [instance, decision] : rows)
        {
            const auto pending = m_pending.find(instance);
            if (pending != m_pending.end() && pending->second.written == decision.written)
            {
                m_pending.erase(pending);
            }
            store(instance, decision);
        }
    });
}

void SimulatedBridge::storePending()
{
    for (const auto& [instance, decision] : m_pending)
    {
        store(instance, decision);
    }
}

void SimulatedBridge::store(Instance instance, const Decision& decision)
{
    if (m_sabotage != Sabotage::StoresNothing)
    {
        m_disk[instance] = decision;
    }
}

} // namespace simulation
