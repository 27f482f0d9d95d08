#pragma once

#include "runtime/apartment/SendDoItEvent.h"
#include "tests/support/TimeFactor.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

/// An apartment without a thread of its own: the test's thread runs the events, so it is the apartment. `send` is
/// thread-safe, the rest belongs to the test.
class PumpedApartment final : public com::tallowcrest::apartment::SendDoItEvent
{
public:
    void send(com::tallowcrest::apartment::DoItEvent* event) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.emplace_back(event);
        m_eventQueued.notify_one();
    }

    /// Events that wait.
    std::size_t size()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_events.size();
    }

    /// Runs the events that are there.
    void runAll()
    {
        while (runOne(std::chrono::steady_clock::now()))
        {}
    }

    /// Runs events as they come until `condition()` holds; false when the deadline passes first.
    template <typename Condition>
    bool runUntil(Condition&& condition, std::chrono::milliseconds deadline = std::chrono::seconds(10))
    {
        const auto end = std::chrono::steady_clock::now() + testsupport::scaled(deadline);
        while (!condition())
        {
            if (!runOne(end))
            {
                return condition();
            }
        }
        return true;
    }

private:
    using Event = std::unique_ptr<com::tallowcrest::apartment::DoItEvent>;

    bool runOne(std::chrono::steady_clock::time_point end)
    {
        Event event;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_eventQueued.wait_until(lock, end, [this] { return !m_events.empty(); }))
            {
                return false;
            }
            event = std::move(m_events.front());
            m_events.pop_front();
        }
        event->doIt();
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_eventQueued;
    std::deque<Event> m_events;
};
