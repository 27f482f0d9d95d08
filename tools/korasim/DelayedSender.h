#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace korasim
{

/// Runs a function on an apartment.
class FunctionEvent final : public com::tallowcrest::apartment::DoItEvent
{
public:
    explicit FunctionEvent(std::function<void()> function) : m_function(std::move(function)) {}
    void doIt() override { m_function(); }

private:
    std::function<void()> m_function;
};

/// Runs a function on an apartment and waits until it is done; what it throws is thrown to the caller. Not from the
/// apartment's own thread, and only while the apartment runs.
void runOn(com::tallowcrest::apartment::SendDoItEvent& apartment, const std::function<void()>& function);

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
