#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace korasim
{

/// Hands events to an apartment when their time has come; events of equal time in the order in which they were given.
/// Thread-safe. Its destructor ends its thread and drops the events that are not due yet.
class DelayedSender
{
public:
    using Event = std::unique_ptr<com::tallowcrest::apartment::DoItEvent>;

    explicit DelayedSender(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment);
    ~DelayedSender();
    DelayedSender(const DelayedSender&) = delete;
    DelayedSender& operator=(const DelayedSender&) = delete;

    void send(Event event, std::chrono::milliseconds delay);

private:
    using Clock = std::chrono::steady_clock;

    void run();

    std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> m_apartment;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isEnding = false;
    std::multimap<Clock::time_point, Event> m_events;
    std::thread m_thread;
};

} // namespace korasim
