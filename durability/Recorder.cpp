#include "durability/Recorder.h"

#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/ThreadName.h"

#include <log4cxx/logger.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

util::Gauge neighboursKnown("korabridge_neighbours", "Other bridges that keep the same targets.");

} // namespace

Recorder::Recorder(dds::domain::DomainParticipant participant, std::filesystem::path store,
                   std::chrono::milliseconds calmTime)
    : m_participant(std::move(participant)), m_store(std::move(store)), m_calmTime(calmTime),
      m_participants(m_participant, m_participant.delegate()->started()), m_spareMemory(m_calmTime),
      m_thread([this] { run(); })
{}

Recorder::~Recorder()
{
    m_stopping = true;
    m_wake.signal();
    m_thread.join();
}

std::shared_ptr<Channel> Recorder::channel(const Channel::Settings& settings, const TypeCodec& codec)
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Channel>& channel = m_channels[settings.name];
    if (channel == nullptr)
    {
        channel = std::make_shared<Channel>(settings, codec, m_wake);
    }
    return channel;
}

void Recorder::run()
{
    util::nameThread("Durable record");
    // Made here, because they touch files.
    RecentRows recent(m_store);
    StoreKeeper keeper(m_store, [this] { m_wake.signal(); });
    while (true)
    {
        const bool isLast = m_stopping.load();
        try
        {
            look(keeper, recent);
        }
        catch (const std::exception& error)
        {
            LOG4CXX_ERROR(util::bridgeLogger(), "Durable targets: " << error.what());
        }
        if (isLast)
        {
            break;
        }
        std::this_thread::sleep_for(m_handedOver > fewValues ? loadedGatherTime : gatherTime);
        m_wake.waitUntil(Clock::now() + (m_isInHurry ? hurriedPoll : idlePoll));
    }
    if (keeper.finish())
    {
        recent.forget();
    }
    m_recorders.clear();
}

void Recorder::look(StoreKeeper& keeper, RecentRows& recent)
{
    openChannels(keeper, recent);
    const bool isStoreLost = keeper.takeLost();
    const Clock::time_point newcomer = m_participants.lastNewcomer();
    bool isDue = false;
    m_isBusy = false;
    m_isInHurry = false;
    m_handedOver = 0;
    std::size_t neighbours = 0;
    if (recent.isFull())
    {
        recent.beginAnew();
        keepAgain();
    }
    else if (isStoreLost)
    {
        keepAgain();
    }
    for (auto& [name, recorder] : m_recorders)
    {
        isDue = recorder.work(newcomer) || isDue;
        m_isBusy = recorder.isBusy() || m_isBusy;
        m_isInHurry = recorder.isInHurry() || m_isInHurry;
        m_handedOver += recorder.handedOver();
        neighbours = std::max(neighbours, recorder.neighbours());
    }
    neighboursKnown.set(static_cast<std::int64_t>(neighbours));
    recent.flush();
    if (isDue)
    {
        keeper.wake();
    }
    letGoOfChannels(keeper);
    dropUnused(keeper);
    restAfterBurst(recent);
    m_spareMemory.look(Clock::now());
}

void Recorder::keepAgain()
{
    for (auto& [name, recorder] : m_recorders)
    {
        recorder.keepAgain();
    }
}

void Recorder::openChannels(StoreKeeper& keeper, RecentRows& recent)
{
    const std::lock_guard lock(m_mutex);
    for (const auto& [name, channel] : m_channels)
    {
        if (!m_recorders.contains(name))
        {
            if (m_letGo.erase(name) > 0)
            {
                keeper.ask(name);
            }
            m_recorders.try_emplace(name, m_participant, m_participant.delegate()->started(), channel, keeper, recent,
                                    m_wake);
        }
    }
}

void Recorder::dropUnused(StoreKeeper& keeper)
{
    if (Clock::now() < m_unusedDue)
    {
        return;
    }
    m_unusedDue = Clock::now() + unusedLook;
    const SourceTime now = fromBusTime(m_participant.current_time().to_nanoseconds());
    if (now < earliestSane)
    {
        return; // a clock that was never set
    }
    std::vector<ChannelName> used;
    for (const auto& [name, recorder] : m_recorders)
    {
        used.push_back(name);
    }
    keeper.dropUnused(now - std::chrono::microseconds(unusedKept).count(), std::move(used));
    keeper.wake();
}

void Recorder::letGoOfChannels(const StoreKeeper& keeper)
{
    const std::lock_guard lock(m_mutex);
    for (auto channel = m_channels.begin(); channel != m_channels.end();)
    {
        // Held by nobody but this list and its recorder, and all of it is stored. What was written since the look at it
        // comes with the next one.
        const auto recorder = m_recorders.find(channel->first);
        const long holders = recorder == m_recorders.end() ? 1 : 2;
        if (channel->second->isLeft() && channel->second.use_count() == holders && channel->second->isDrained() &&
            !keeper.hasPending(channel->first))
        {
            m_recorders.erase(channel->first);
            m_letGo.insert(channel->first);
            channel = m_channels.erase(channel);
        }
        else
        {
            ++channel;
        }
    }
}

void Recorder::restAfterBurst(RecentRows& recent)
{
    if (m_isBusy)
    {
        m_lastBurst = Clock::now();
    }
    else if (m_lastBurst && Clock::now() >= *m_lastBurst + m_calmTime)
    {
        m_lastBurst.reset();
        for (auto& [name, recorder] : m_recorders)
        {
            recorder.rest();
        }
        recent.rest();
        m_spareMemory.giveBack();
    }
}

} // namespace com::tallowcrest::durability
