#include "tests/support/StallMeter.h"

#include "tests/support/ThreadTimes.h"

#include <unistd.h>

#include <algorithm>

using namespace std::chrono_literals;

namespace testsupport
{

namespace
{

constexpr auto interval = 25ms;

} // namespace

StallMeter::StallMeter() : m_ownWaits(waitsOf(getpid())), m_looker([this] { run(); }) {}

StallMeter::~StallMeter()
{
    m_isEnding = true;
    m_looker.join();
}

void StallMeter::watch(pid_t bridge)
{
    watch(bridge, "Bridge Apart", false);
}

void StallMeter::watchOnly(pid_t bridge, const std::string& thread)
{
    watch(bridge, thread, true);
}

void StallMeter::watch(pid_t bridge, const std::string& thread, bool isBridgeAlone)
{
    const std::lock_guard lock(m_mutex);
    m_bridge = bridge;
    m_threadName = thread;
    m_threadNumber.clear();
    m_isBridgeAlone = isBridgeAlone;
    m_bridgeWaits.clear();
}

StallMeter::Waits StallMeter::waitsOf(pid_t process)
{
    Waits waits;
    for (const auto& thread : threadsOf(process))
    {
        if (const auto times = timesOf(thread))
        {
            waits[thread.filename()] = times->waited;
        }
    }
    return waits;
}

StallMeter::Clock::duration StallMeter::longest(const Waits& before, const Waits& now, const std::string& except)
{
    Clock::duration longest{0};
    for (const auto& [thread, waited] : now)
    {
        const auto earlier = before.find(thread);
        if (thread != except && earlier != before.end())
        {
            longest = std::max(longest, waited - earlier->second);
        }
    }
    return longest;
}

void StallMeter::run()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ownThread = std::to_string(gettid());
    }
    while (!m_isEnding)
    {
        std::this_thread::sleep_for(interval);
        const std::lock_guard lock(m_mutex);
        look();
    }
}

void StallMeter::look()
{
    if (m_bridge != 0 && m_threadNumber.empty())
    {
        const auto threads = threadsOf(m_bridge, m_threadName);
        m_threadNumber = threads.empty() ? "" : threads.front().filename().string();
    }
    Waits bridgeNow = m_bridge != 0 ? waitsOf(m_bridge) : Waits{};
    Waits ownNow = waitsOf(getpid());
    const auto now = Clock::now();
    Clock::duration waited = longest(m_bridgeWaits, bridgeNow, m_threadNumber);
    if (!m_isBridgeAlone)
    {
        waited += longest(m_ownWaits, ownNow, m_ownThread);
    }
    if (bridgeNow.contains(m_threadNumber) && m_bridgeWaits.contains(m_threadNumber))
    {
        waited += bridgeNow[m_threadNumber] - m_bridgeWaits[m_threadNumber];
    }
    m_stalls.push_back({m_lastLook, now, std::min<Clock::duration>(waited, now - m_lastLook)});
    m_bridgeWaits = std::move(bridgeNow);
    m_ownWaits = std::move(ownNow);
    m_lastLook = now;
}

StallMeter::Clock::duration StallMeter::stalledBetween(Clock::time_point begin, Clock::time_point end)
{
    const std::lock_guard lock(m_mutex);
    if (end > m_lastLook)
    {
        look(); // the thread that looks may have waited for a processor itself
    }
    Clock::duration sum{0};
    for (auto stall = m_stalls.rbegin(); stall != m_stalls.rend() && stall->end > begin; ++stall)
    {
        const auto overlap = std::min(stall->end, end) - std::max(stall->begin, begin);
        sum += std::clamp<Clock::duration>(stall->waited, Clock::duration::zero(),
                                           std::max<Clock::duration>(overlap, Clock::duration::zero()));
    }
    return sum;
}

StallMeter::Clock::duration StallMeter::total()
{
    return stalledBetween(Clock::time_point::min(), Clock::time_point::max());
}

} // namespace testsupport
