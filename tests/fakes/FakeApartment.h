#pragma once

#include "runtime/apartment/Apartment.h"
#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

/// An apartment without a thread: the test's thread runs the events, so it is the apartment. `send` is thread-safe, the
/// rest belongs to the test.
class FakeApartment final : public com::tallowcrest::apartment::Apartment
{
public:
    using DoItEvent = com::tallowcrest::apartment::DoItEvent;

    /// What becomes of an event that is sent. One that runs at once does so inside `send`, which throws what it throws.
    enum class Sent
    {
        Waits,
        RunsAtOnce,
        IsDropped,
        IsRefused
    };

    explicit FakeApartment(Sent sent = Sent::Waits) : Apartment("Fake Apartment"), m_sent(sent) {}

    void send(DoItEvent* event) override
    {
        std::unique_lock lock(m_mutex);
        if (m_sent == Sent::IsRefused)
        {
            ++m_refused;
            throw std::runtime_error("no room");
        }
        if (m_sent == Sent::Waits)
        {
            m_events.emplace_back(event);
            m_eventQueued.notify_one();
            return;
        }
        const std::unique_ptr<DoItEvent> owned(event);
        const bool runs = m_sent == Sent::RunsAtOnce;
        lock.unlock();
        if (runs)
        {
            owned->doIt();
        }
    }
    void start() override {}
    void stop() override {}
    bool isRunning() const override { return true; }

    /// From now on events are refused.
    void refuse()
    {
        const std::lock_guard lock(m_mutex);
        m_sent = Sent::IsRefused;
    }
    int refused() const
    {
        const std::lock_guard lock(m_mutex);
        return m_refused;
    }

    /// Events that wait.
    std::size_t pending() const
    {
        const std::lock_guard lock(m_mutex);
        return m_events.size();
    }
    /// How many of those that waited have been run.
    std::size_t processed() const { return m_processed; }

    /// Runs the first event; false when there is none.
    bool runOnce() { return runOne(Clock::now()); }
    /// Runs the events that are there and those that they send; returns how many.
    std::size_t runAll()
    {
        const std::size_t before = m_processed;
        while (runOne(Clock::now()))
        {}
        return m_processed - before;
    }

    /// Runs events one by one as they come until `condition()` holds, which need not be their doing; false when the
    /// deadline passes first.
    template <typename Condition>
    bool runUntil(Condition&& condition, std::chrono::milliseconds deadline = std::chrono::seconds(10))
    {
        const auto end = Clock::now() + testsupport::scaled(deadline);
        while (!condition())
        {
            const auto now = Clock::now();
            if (!runOne(std::min(end, now + std::chrono::milliseconds(2))) && now >= end)
            {
                return condition();
            }
        }
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;

    bool runOne(Clock::time_point end)
    {
        std::unique_ptr<DoItEvent> event;
        {
            std::unique_lock lock(m_mutex);
            if (!m_eventQueued.wait_until(lock, end, [this] { return !m_events.empty(); }))
            {
                return false;
            }
            event = std::move(m_events.front());
            m_events.pop_front();
        }
        event->doIt();
        ++m_processed;
        return true;
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_eventQueued;
    std::deque<std::unique_ptr<DoItEvent>> m_events;
    Sent m_sent;
    int m_refused = 0;
    std::size_t m_processed = 0;
};
