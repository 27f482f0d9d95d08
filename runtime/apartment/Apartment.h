#pragma once

#include "runtime/apartment/SendDoItEvent.h"
#include "runtime/apartment/Task.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace com::tallowcrest::apartment
{

/// One worker thread with a first-in first-out queue of events. Objects that live in an apartment are touched by its
/// thread alone, so they need no locks. `send`, `isRunning` are thread-safe; `start` and `stop` belong to one owner.
/// An exception that leaves an event is logged at ERROR to "KORABRIDGE" and the next event runs.
class Apartment : public SendDoItEvent, public Task
{
public:
    /// Enrols the task as `name`; no thread yet.
    explicit Apartment(const std::string& name);
    /// Stops the thread if it runs and deletes the events that never ran, in order.
    ~Apartment() override;

    void send(DoItEvent* event) override;
    /// Starts the thread; nothing when already running.
    void start() override;
    /// Ends the loop after the event that runs, and joins the thread. Not from the apartment's own thread. Idempotent.
    void stop() override;
    bool isRunning() const override;

protected:
    /// The thread body: runs events one at a time until stopped; looks at the running flag every 10 seconds at least.
    virtual void run();

private:
    std::chrono::milliseconds m_waitTimeout{10000};
    std::atomic<bool> m_running{false};
    std::thread m_thread;
    std::deque<DoItEvent*> m_events;
    std::mutex m_mutex;
    std::condition_variable m_eventQueued;
};

} // namespace com::tallowcrest::apartment
