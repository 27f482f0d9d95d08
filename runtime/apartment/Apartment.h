#pragma once

#include "runtime/apartment/SendDoItEvent.h"
#include "runtime/apartment/Task.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace com::tallowcrest::apartment
{

/// One worker thread with a first-in first-out queue of events. Objects that live in an apartment are touched by its
/// thread alone, so they need no locks. `send` and `isRunning` are thread-safe; `start`, `stop` and the destructor
/// belong to one owner, which is never the apartment's own thread.
/// An exception that leaves an event is logged at ERROR to "KORABRIDGE" and the next event runs.
class Apartment : public SendDoItEvent, public Task
{
public:
    /// Enrols the task as `name`; no thread yet.
    explicit Apartment(const std::string& name);
    /// Stops the thread if it runs and deletes the events that never ran, in order.
    ~Apartment() override;

    void send(DoItEvent* event) override;
    /// Starts the thread, which first works off what is queued already; nothing when already running.
    void start() override;
    /// Ends the loop after the event that runs, and joins the thread. Events behind it stay queued. Idempotent.
    void stop() override;
    bool isRunning() const override;

protected:
    /// The thread body: runs events one at a time until stopped; looks at the running flag every 10 seconds at least.
    virtual void run();

private:
    /// Waits for an event until the wait timeout has passed or the apartment stops; null when none came.
    std::unique_ptr<DoItEvent> waitForEvent();
    std::unique_ptr<DoItEvent> takeEvent();
    /// Takes the front of the queue, with the mutex held; null when the queue is empty.
    std::unique_ptr<DoItEvent> popEvent();
    static void runEvent(DoItEvent& event);
    void nameThread() const;

    std::chrono::milliseconds m_waitTimeout{10000};
    std::thread m_thread;
    std::deque<DoItEvent*> m_events;
    std::mutex m_mutex;
    std::condition_variable m_eventQueued;
    const std::string m_name;
};

} // namespace com::tallowcrest::apartment
