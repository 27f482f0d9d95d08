#include "runtime/apartment/Apartment.h"

#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/ThreadPriority.h"
#include "runtime/apartment/ThreadTurns.h"
#include "runtime/util/Log.h"
#include "runtime/util/Slot.h"
#include "runtime/util/ThreadName.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace com::tallowcrest::apartment
{

Apartment::Apartment(const std::string& name, std::shared_ptr<RoundBracket> bracket,
                     std::shared_ptr<AlarmClock> alarmClock)
    : Task(name), m_alarmClock(std::move(alarmClock)), m_name(name), m_round(std::move(bracket)), m_crowd(*m_alarmClock)
{}

Apartment::~Apartment()
{
    try
    {
        // As stop(), but without the wake-up event, so that the end needs no memory.
        {
            const std::lock_guard lock(m_mutex);
            m_running = false;
        }
        m_eventQueued.notify_all();
        if (m_thread.joinable())
        {
            m_thread.join();
        }
        // Deleted without the mutex: an event's destructor may send another one.
        while (takeEvent() != nullptr)
        {}
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(util::bridgeLogger(), "Apartment %s failed to stop, %s", m_name.c_str(), error.what());
    }
}

void Apartment::send(DoItEvent* event)
{
    {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(event);
        m_hasEvents.store(true, std::memory_order_relaxed);
    }
    m_eventQueued.notify_one();
}

void Apartment::start()
{
    if (m_running.exchange(true))
    {
        return;
    }
    try
    {
        m_thread = std::thread([this] {
            util::nameThread(m_name);
            run();
        });
    }
    catch (...)
    {
        m_running = false;
        throw;
    }
}

void Apartment::stop()
{
    m_running = false;
    post(*this, std::make_unique<EmptyDoItEvent>());
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

bool Apartment::isRunning() const
{
    return m_running;
}

void Apartment::run()
{
    while (isRunning())
    {
        auto event = takeEvent();
        const bool hasWaited = event == nullptr;
        if (hasWaited)
        {
            m_round.end();
            event = waitForEvent();
            letOthersJoin();
        }
        if (event == nullptr || !hasWaited) // else no alarm was due, and whoever has sent the event waits
        {
            ringAlarms();
        }
        if (event != nullptr)
        {
            runInRound(std::move(event));
        }
    }
    m_round.end();
}

void Apartment::runInRound(std::unique_ptr<DoItEvent> event)
{
    noteWaiter(*event);
    const bool isBrief = event->isBrief();
    if (!isBrief)
    {
        m_round.end(); // what was done before shall not wait for it
        letAnswersOut();
    }
    m_round.run(std::move(event));
    if (!isBrief || m_round.isFull())
    {
        m_round.end();
    }
}

void Apartment::noteWaiter(const DoItEvent& event)
{
    if (m_preference.note(event.waiter(), event.isBrief()))
    {
        preferThisThread(m_preference.isPreferred());
    }
    if (event.waiter() != nullptr && m_crowd.note(event.isBrief() && m_round.isUnderWay()))
    {
        takeTurns(m_crowd.isThere() ? Turns::Patient : Turns::Ordinary);
    }
}

void Apartment::ringAlarms()
{
    while (const Alarm* const alarm = m_alarmClock->takeDue())
    {
        m_round.end();
        letAnswersOut();
        m_round.run(alarm->call());
        m_round.end();
    }
}

void Apartment::letOthersJoin()
{
    // On the same processor those who were answered last run before this thread, or else beside it: the wait ended with
    // the first of them who had another event, and the others would wait for a round more than he does.
    if (m_crowd.isThere())
    {
        std::this_thread::yield();
    }
}

void Apartment::letAnswersOut()
{
    // Whoever was answered is awake, but on the same processor it would run only after the long event: this thread goes
    // before others. A wait since then does not help, because it ends as soon as the first of them sends the next
    // event.
    if (m_round.takeHasAnswered())
    {
        std::this_thread::yield();
    }
}

std::unique_ptr<DoItEvent> Apartment::waitForEvent()
{
    const auto isOver = [this] { return !m_events.empty() || !m_running; };
    if (const auto due = m_alarmClock->nextDue())
    {
        const auto now = AlarmClock::Clock::now();
        const auto wakeUp = m_alarmClock->wakeUpTime(*due);
        if (wakeUp <= now)
        {
            return nullptr;
        }
        std::unique_lock lock(m_mutex);
        m_eventQueued.wait_until(lock, std::min(wakeUp, now + m_waitTimeout), isOver);
        return popEvent();
    }
    std::unique_lock lock(m_mutex);
    m_eventQueued.wait_until(lock, std::chrono::system_clock::now() + m_waitTimeout, isOver);
    return popEvent();
}

std::unique_ptr<DoItEvent> Apartment::takeEvent()
{
    if (!m_hasEvents.load(std::memory_order_relaxed))
    {
        return nullptr; // one that is on its way is found by waitForEvent
    }
    const std::lock_guard lock(m_mutex);
    return popEvent();
}

std::unique_ptr<DoItEvent> Apartment::popEvent()
{
    if (m_events.empty())
    {
        return nullptr;
    }
    std::unique_ptr<DoItEvent> event(m_events.front());
    m_events.pop_front();
    m_hasEvents.store(!m_events.empty(), std::memory_order_relaxed);
    return event;
}

std::shared_ptr<Apartment> bridgeApartment()
{
    return util::processSlot<Apartment>().get();
}

void createBridgeApartment(std::shared_ptr<RoundBracket> bracket)
{
    util::processSlot<Apartment>().setIfEmpty([&bracket] {
        auto apartment = std::make_shared<Apartment>("Bridge Apartment", std::move(bracket));
        // Whoever waits for an answer waits for this thread.
        post(*apartment, std::make_unique<PreferThread>());
        apartment->start();
        return apartment;
    });
}

void setBridgeApartment(std::shared_ptr<Apartment> apartment)
{
    util::processSlot<Apartment>().set(std::move(apartment));
}

void resetBridgeApartment()
{
    util::processSlot<Apartment>().reset();
}

} // namespace com::tallowcrest::apartment
