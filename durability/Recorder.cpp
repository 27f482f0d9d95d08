#include "durability/Recorder.h"

#include "runtime/util/Log.h"
#include "runtime/util/ThreadName.h"

#include <log4cxx/logger.h>
#include <malloc.h>

#include <exception>

namespace com::tallowcrest::durability
{

Recorder::Recorder(dds_entity_t participant, Clock::time_point started, const ChannelList& channels,
                   StoreKeeper& keeper, RecentRows& recent, util::WakeEvent& wake, std::chrono::milliseconds calmTime)
    : m_participant(participant), m_channels(channels), m_keeper(keeper), m_recent(recent), m_wake(wake),
      m_calmTime(calmTime), m_participants(participant, started), m_thread([this] { run(); })
{}

Recorder::~Recorder()
{
    m_stopping = true;
    m_wake.signal();
    m_thread.join();
}

void Recorder::run()
{
    util::nameThread("Durable record");
    while (true)
    {
        const bool isLast = m_stopping.load();
        bool isWaitedFor = false;
        try
        {
            isWaitedFor = look();
        }
        catch (const std::exception& error)
        {
            LOG4CXX_ERROR(util::bridgeLogger(), "Durable targets: " << error.what());
        }
        if (isLast)
        {
            return;
        }
        std::this_thread::sleep_for(m_handedOver > fewSamples ? loadedGatherTime : gatherTime);
        m_wake.waitUntil(Clock::now() + (isWaitedFor ? waitPoll : idlePoll));
    }
}

bool Recorder::look()
{
    bool isDue = false;
    bool isWaitedFor = false;
    bool isBusy = false;
    m_handedOver = 0;
    for (const auto& channel : m_channels.all())
    {
        const auto recorder =
            m_recorders.try_emplace(channel.get(), m_participant, channel, m_keeper, m_recent, m_wake).first;
        // Asked first: what was handed over before the wait began is then part of this look.
        const Channel::Waiting waiting = recorder->second.waiting();
        const Clock::time_point now = Clock::now();
        isDue = recorder->second.work(now) || isDue;
        isBusy = recorder->second.isBusy() || isBusy;
        m_handedOver += recorder->second.handedOver();
        isWaitedFor = recorder->second.serveWait(waiting, m_participants, now) || isWaitedFor;
    }
    if (isDue)
    {
        m_keeper.wake();
    }
    restAfterBurst(isBusy);
    return isWaitedFor;
}

void Recorder::restAfterBurst(bool isBusy)
{
    if (isBusy)
    {
        m_lastBurst = Clock::now();
    }
    else if (m_lastBurst && Clock::now() >= *m_lastBurst + m_calmTime)
    {
        m_lastBurst.reset();
        for (auto& [channel, recorder] : m_recorders)
        {
            recorder.rest();
        }
        m_recent.rest();
        ::malloc_trim(0); // what the burst has used and freed is spread over the heaps of all threads
    }
}

} // namespace com::tallowcrest::durability
