#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "runtime/apartment/SendDoItEvent.h"
#include "tests/support/WaitUntil.h"

/// Keeps the events until the test runs them, on the test's thread. Thread-safe.
class ManualApartment final : public com::tallowcrest::apartment::SendDoItEvent
{
public:
    void send(com::tallowcrest::apartment::DoItEvent* event) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_refuses)
        {
            ++m_refused;
            throw std::runtime_error("no room");
        }
        m_events.emplace_back(event);
    }

    void refuse()
    {
        const std::lock_guard lock(m_mutex);
        m_refuses = true;
    }
    int refused() const
    {
        const std::lock_guard lock(m_mutex);
        return m_refused;
    }
    std::size_t pending() const
    {
        const std::lock_guard lock(m_mutex);
        return m_events.size();
    }

    /// How many events have been run. On the test's thread.
    std::size_t processed() const { return m_processed; }

    /// Runs what is queued, one event after the other; returns how many.
    std::size_t run()
    {
        std::size_t count = 0;
        for (auto event = next(); event != nullptr; event = next())
        {
            event->doIt();
            ++count;
            ++m_processed;
        }
        return count;
    }

    /// Runs events as they come until `condition` holds; false when it does not within 10 s.
    template <typename Condition>
    bool runUntil(Condition condition)
    {
        return testsupport::waitUntil([&] {
            run();
            return condition();
        });
    }

private:
    std::unique_ptr<com::tallowcrest::apartment::DoItEvent> next()
    {
        const std::lock_guard lock(m_mutex);
        if (m_events.empty())
        {
            return nullptr;
        }
        auto event = std::move(m_events.front());
        m_events.pop_front();
        return event;
    }

    mutable std::mutex m_mutex;
    std::deque<std::unique_ptr<com::tallowcrest::apartment::DoItEvent>> m_events;
    bool m_refuses = false;
    int m_refused = 0;
    std::size_t m_processed = 0;
};
