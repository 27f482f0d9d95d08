#include "tests/chaos/StallMeter.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

constexpr auto sleepTime = 5ms;
constexpr auto tolerated = 50ms;

} // namespace

StallMeter::StallMeter() : m_thread([this] { run(); }) {}

StallMeter::~StallMeter()
{
    m_isEnding = true;
    m_thread.join();
}

void StallMeter::run()
{
    while (!m_isEnding)
    {
        const auto due = Clock::now() + sleepTime;
        std::this_thread::sleep_until(due);
        if (const auto now = Clock::now(); now - due > tolerated)
        {
            const std::lock_guard lock(m_mutex);
            m_stalls.emplace_back(due, now);
        }
    }
}

Clock::duration StallMeter::stalledBetween(Clock::time_point begin, Clock::time_point end) const
{
    const std::lock_guard lock(m_mutex);
    Clock::duration sum{0};
    for (const auto& [from, to] : m_stalls)
    {
        sum += std::max(Clock::duration::zero(), std::min(to, end) - std::max(from, begin));
    }
    return sum;
}

Clock::duration StallMeter::total() const
{
    return stalledBetween(Clock::time_point::min(), Clock::time_point::max());
}

} // namespace chaos
