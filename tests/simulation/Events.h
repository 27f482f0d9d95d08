#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <queue>
#include <random>
#include <utility>
#include <vector>

namespace simulation
{

using Time = std::chrono::microseconds;

/// What is still to happen, in the order of time; what happens at the same time happens in the order in which it was
/// planned. One seed decides everything.
class Events
{
public:
    explicit Events(std::uint64_t seed) : m_random(seed) {}

    Time now() const { return m_now; }
    std::uint64_t steps() const { return m_steps; }

    void after(Time delay, std::function<void()> event)
    {
        m_queue.push({m_now + delay, m_planned++, std::move(event)});
    }
    /// Runs everything that is due until then.
    void runUntil(Time end)
    {
        while (!m_queue.empty() && m_queue.top().at <= end)
        {
            // The queue hands out constants only; the event is gone with the next line.
            const auto event = std::move(const_cast<Planned&>(m_queue.top()).event); // NOLINT
            m_now = m_queue.top().at;
            m_queue.pop();
            ++m_steps;
            event();
        }
        m_now = end;
    }

    /// From `least` to `most`, both included.
    std::uint64_t number(std::uint64_t least, std::uint64_t most)
    {
        return least + m_random() % (most - least + 1); // the same on every machine
    }
    /// Below `count`.
    std::size_t index(std::size_t count) { return static_cast<std::size_t>(number(0, count - 1)); }
    bool chance(unsigned percent) { return number(1, 100) <= percent; }
    Time between(Time least, Time most)
    {
        return Time(static_cast<Time::rep>(
            number(static_cast<std::uint64_t>(least.count()), static_cast<std::uint64_t>(most.count()))));
    }

private:
    struct Planned
    {
        Time at;
        std::uint64_t number;
        std::function<void()> event;
        bool operator<(const Planned& other) const { return at != other.at ? at > other.at : number > other.number; }
    };

    std::mt19937_64 m_random;
    std::priority_queue<Planned> m_queue;
    Time m_now{};
    std::uint64_t m_planned = 0;
    std::uint64_t m_steps = 0;
};

} // namespace simulation
