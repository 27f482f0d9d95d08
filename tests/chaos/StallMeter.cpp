#include "tests/chaos/StallMeter.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <unistd.h>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

constexpr auto interval = 25ms;

/// The number of the bridge's apartment thread; empty when it has none.
std::string apartmentOf(pid_t bridge)
{
    std::error_code none; // an ended process has no threads
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(bridge) + "/task", none))
    {
        std::ifstream file(task.path() / "comm");
        std::string name;
        std::getline(file, name);
        if (name.starts_with("Bridge Apart"))
        {
            return task.path().filename();
        }
    }
    return {};
}

} // namespace

StallMeter::StallMeter() : m_thread([this] { run(); }) {}

StallMeter::~StallMeter()
{
    m_isEnding = true;
    m_thread.join();
}

StallMeter::Waits StallMeter::waitsOf(pid_t process)
{
    Waits waits;
    std::error_code none;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", none))
    {
        // Time run and time waited, in nanoseconds.
        std::int64_t ran = 0;
        std::int64_t waited = 0;
        if (std::ifstream(task.path() / "schedstat") >> ran >> waited)
        {
            waits[task.path().filename()] = std::chrono::nanoseconds(waited);
        }
    }
    return waits;
}

Clock::duration StallMeter::longest(const Waits& before, const Waits& now, const std::string& except)
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
    std::string apartment;
    Waits bridgeBefore;
    Waits ownBefore = waitsOf(getpid());
    auto before = Clock::now();
    while (!m_isEnding)
    {
        std::this_thread::sleep_for(interval);
        const pid_t bridge = m_bridge;
        if (bridge != 0 && apartment.empty())
        {
            apartment = apartmentOf(bridge);
        }
        Waits bridgeNow = bridge != 0 ? waitsOf(bridge) : Waits{};
        Waits ownNow = waitsOf(getpid());
        const auto now = Clock::now();
        Clock::duration waited = longest(bridgeBefore, bridgeNow, apartment) + longest(ownBefore, ownNow, {});
        if (bridgeNow.contains(apartment) && bridgeBefore.contains(apartment))
        {
            waited += bridgeNow[apartment] - bridgeBefore[apartment];
        }
        {
            const std::lock_guard lock(m_mutex);
            m_stalls.push_back({before, now, std::min<Clock::duration>(waited, now - before)});
        }
        bridgeBefore = std::move(bridgeNow);
        ownBefore = std::move(ownNow);
        before = now;
    }
}

Clock::duration StallMeter::stalledBetween(Clock::time_point begin, Clock::time_point end) const
{
    const std::lock_guard lock(m_mutex);
    Clock::duration sum{0};
    for (auto stall = m_stalls.rbegin(); stall != m_stalls.rend() && stall->end > begin; ++stall)
    {
        const auto overlap = std::min(stall->end, end) - std::max(stall->begin, begin);
        sum += std::clamp<Clock::duration>(stall->waited, Clock::duration::zero(),
                                           std::max<Clock::duration>(overlap, Clock::duration::zero()));
    }
    return sum;
}

Clock::duration StallMeter::total() const
{
    return stalledBetween(Clock::time_point::min(), Clock::time_point::max());
}

} // namespace chaos
