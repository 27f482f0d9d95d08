#pragma once

#include "runtime/apartment/AlarmClock.h"
#include "runtime/apartment/Crowd.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Preference.h"
#include "runtime/apartment/Round.h"
#include "runtime/apartment/Task.h"
#include "runtime/util/RingQueue.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace com::tallowcrest::apartment
{

/// One worker thread with a first-in first-out queue of events. Objects that live in an apartment are touched by its
/// thread alone, so they need no locks. `send` and `isRunning` are thread-safe; `start`, `stop` and the destructor
/// belong to one owner, which is never the apartment's own thread.
/// An exception that leaves an event is logged at ERROR to "KORABRIDGE" and the next event runs. Brief events that wait
/// together run in one round, every other event in one of its own; see Round. Alarms that are due ring between two
/// events, each in a round of its own.
class Apartment : public SendDoItEvent, public Task
{
public:
    /// Enrols the task as `name`; no thread yet. `bracket`, if there is one, is called around each round. A test's
    /// `alarmClock` may be fast, not slow.
    explicit Apartment(const std::string& name, std::shared_ptr<RoundBracket> bracket = nullptr,
                       std::shared_ptr<AlarmClock> alarmClock = std::make_shared<AlarmClock>());
    /// Stops the thread if it runs and deletes the events that never ran, in order.
    ~Apartment() override;

    void send(DoItEvent* event) override;
    /// Starts the thread, which first works off what is queued already; nothing when already running.
    void start() override;
    /// Ends the loop after the event that runs, and joins the thread. Events behind it stay queued. Idempotent.
    void stop() override;
    bool isRunning() const override;
    /// Whether so many wait for it that whoever waits had better not interrupt others. Any thread.
    bool isCrowded() const { return m_crowd.isThere(); }
    /// For alarms that ring on this apartment.
    const std::shared_ptr<AlarmClock>& alarmClock() const { return m_alarmClock; }

protected:
    /// The thread body: runs events one at a time until stopped; looks at the running flag every 10 seconds at least.
    virtual void run();

private:
    /// Adapts the thread's priority to those who wait for the event that is about to run.
    void noteWaiter(const DoItEvent& event);
    /// Runs the event in the round that is under way or in a new one.
    void runInRound(std::unique_ptr<DoItEvent> event);
    void ringAlarms();
    /// Gives way once in a crowd, before a round begins.
    void letOthersJoin();
    /// Gives way once, if anybody has been answered since the last time.
    void letAnswersOut();
    /// Waits for an event until the wait timeout has passed, an alarm is due or the apartment stops; null when none
    /// came. Whoever gets one may take it that no alarm is due.
    std::unique_ptr<DoItEvent> waitForEvent();
    std::unique_ptr<DoItEvent> takeEvent();
    /// Takes the front of the queue, with the mutex held; null when the queue is empty.
    std::unique_ptr<DoItEvent> popEvent();

    std::chrono::milliseconds m_waitTimeout{10000};
    std::thread m_thread;
    util::RingQueue<DoItEvent*> m_events;
    std::mutex m_mutex;
    std::atomic<bool> m_hasEvents{false}; ///< written with the mutex held, so that the thread need not take it in vain
    std::condition_variable m_eventQueued;
    const std::shared_ptr<AlarmClock> m_alarmClock;
    const std::string m_name;
    Round m_round;           ///< the thread's
    Preference m_preference; ///< the same
    Crowd m_crowd;           ///< the thread notes
};

// The process-wide slot of the one apartment on which all bridge logic runs. Thread-safe.

/// A copy of the shared pointer; empty before creation and after reset.
std::shared_ptr<Apartment> bridgeApartment();

/// Creates the apartment named "Bridge Apartment" and starts it; nothing when the slot is full. `bracket` as for
/// Apartment.
void createBridgeApartment(std::shared_ptr<RoundBracket> bracket = nullptr);

/// Stores an apartment (tests); an empty pointer empties the slot.
void setBridgeApartment(std::shared_ptr<Apartment> apartment);

/// Empties the slot. The apartment lives on while others hold it.
void resetBridgeApartment();

} // namespace com::tallowcrest::apartment
