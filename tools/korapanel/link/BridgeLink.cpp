#include "tools/korapanel/link/BridgeLink.h"

#include "koraclient/Errors.h"
#include "koraclient/Watch.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/ThreadName.h"

#include <algorithm>
#include <array>
#include <utility>

namespace korapanel
{
namespace
{

using com::tallowcrest::util::Counter;
using com::tallowcrest::util::Gauge;
using com::tallowcrest::util::Histogram;
using koraclient::KoraClient;
using koraclient::Watch;

constexpr std::array<std::uint32_t, 10> boundsMicroseconds{50,    100,   250,    500,     1'000,
                                                           2'500, 5'000, 25'000, 100'000, 1'000'000};

Gauge connectedGauge("korapanel_link_connected", "1 while there is a connection to the bridge.");
Counter connectCounter("korapanel_link_connections_total", "Connections to the bridge that were made.");
Counter lossCounter("korapanel_link_losses_total", "Connections to the bridge that were lost.");
Histogram answerTimes("korapanel_link_answer_seconds", "How long the bridge took to answer a request.",
                      boundsMicroseconds);

} // namespace

BridgeLink::BridgeLink(Settings settings, PanelModel& model, std::function<std::size_t()> watchers)
    : m_settings(std::move(settings)), m_model(model), m_watchers(std::move(watchers)), m_retry(Watch::firstRetry)
{
    for (const std::uint32_t level : m_settings.levels)
    {
        m_levels.emplace_back(level, m_model);
    }
    m_thread = std::thread([this] { run(); });
}

BridgeLink::~BridgeLink()
{
    stop();
}

bool BridgeLink::submit(Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isStopping || m_jobs.size() >= mostJobs)
        {
            return false;
        }
        m_jobs.push_back(std::move(job));
        m_interestUntil = Clock::now() + interestTime;
        m_isWoken = true;
    }
    m_wake.notify_one();
    return true;
}

void BridgeLink::noteInterest()
{
    {
        const std::lock_guard lock(m_mutex);
        const auto now = Clock::now();
        m_isWoken = m_isWoken || m_interestUntil < now; // it sleeps for long
        m_interestUntil = now + interestTime;
    }
    m_wake.notify_one();
}

void BridgeLink::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_interrupt.signal();
    m_wake.notify_one();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void BridgeLink::run()
{
    com::tallowcrest::util::nameThread("Bridge link");
    do
    {
        try
        {
            while (serve())
            {}
            break; // the end is wanted
        }
        catch (const koraclient::KoraError& problem)
        {
            lossCounter.add(connectedGauge.value() == 0 ? 0 : 1);
            connectedGauge.set(0);
            m_model.setConnected(false, problem.what());
        }
    } while (waitForRetry());
    connectedGauge.set(0);
    runJobs(nullptr);
}

bool BridgeLink::serve()
{
    KoraClient client(m_settings.host, m_settings.port, KoraClient::defaultTimeout, &m_interrupt);
    client.observeTimes(
        [](std::chrono::nanoseconds time) { answerTimes.observe(static_cast<std::uint64_t>(time.count() / 1000)); });
    for (LevelPoll& level : m_levels)
    {
        level.begin();
    }
    bool isFirst = true;
    bool isSettled = false;
    const auto settled = Clock::now() + settleTime;
    auto nextCheck = Clock::now() + checkInterval;
    do
    {
        runJobs(&client);
        for (LevelPoll& level : m_levels)
        {
            level.poll(client);
        }
        if (std::exchange(isFirst, false))
        {
            m_retry = Watch::firstRetry;
            connectCounter.add();
            connectedGauge.set(1);
            m_model.setConnected(true, "connected");
        }
        if (!isSettled && Clock::now() >= settled)
        {
            isSettled = true;
            m_model.settle();
        }
        if (Clock::now() >= nextCheck)
        {
            nextCheck = Clock::now() + checkInterval;
            if (!check(client))
            {
                return true;
            }
        }
    } while (waitFor(interval()));
    return false;
}

bool BridgeLink::check(KoraClient& client)
{
    return std::all_of(m_levels.begin(), m_levels.end(), [&client](LevelPoll& level) { return level.check(client); });
}

void BridgeLink::runJobs(KoraClient* client)
{
    for (;;)
    {
        Job job;
        {
            const std::lock_guard lock(m_mutex);
            m_isWoken = false;
            if (m_jobs.empty())
            {
                return;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        job(client);
    }
}

bool BridgeLink::waitFor(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    m_wake.wait_for(lock, time, [this] { return m_isStopping || m_isWoken || !m_jobs.empty(); });
    return !m_isStopping;
}

bool BridgeLink::waitForRetry()
{
    const auto end = Clock::now() + std::exchange(m_retry, std::min(m_retry * 2, Watch::longestRetry));
    for (;;)
    {
        runJobs(nullptr); // nobody waits for a bridge that is not there
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (!waitFor(std::max(left, std::chrono::milliseconds(0))))
        {
            return false;
        }
        if (Clock::now() >= end)
        {
            return true;
        }
    }
}

std::chrono::milliseconds BridgeLink::interval()
{
    const bool isWatched = m_watchers() > 0;
    const std::lock_guard lock(m_mutex);
    return isWatched || Clock::now() < m_interestUntil ? busyInterval : idleInterval;
}

} // namespace korapanel
