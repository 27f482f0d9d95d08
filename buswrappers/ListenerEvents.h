#pragma once

#include "dds/core/Status.hpp"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

#include <atomic>
#include <memory>
#include <utility>

// A callback of the bus comes on a DDS thread. `ListenerEventSender` turns it into one of these events, and the event
// calls the handler on the apartment.

namespace com::tallowcrest::routing
{

/// What a reader's owner is told, always on the bridge apartment. Each operation does nothing by default.
class DataReaderListenerHandler
{
public:
    DataReaderListenerHandler() = default;
    virtual ~DataReaderListenerHandler() = default;
    DataReaderListenerHandler(const DataReaderListenerHandler&) = delete;
    DataReaderListenerHandler& operator=(const DataReaderListenerHandler&) = delete;

    virtual void onRequestedDeadlineMissed(const dds::core::status::RequestedDeadlineMissedStatus&) {}
    virtual void onRequestedIncompatibleQos(const dds::core::status::RequestedIncompatibleQosStatus&) {}
    virtual void onSampleRejected(const dds::core::status::SampleRejectedStatus&) {}
    virtual void onLivelinessChanged(const dds::core::status::LivelinessChangedStatus&) {}
    virtual void onDataAvailable() {}
    virtual void onSubscriptionMatched(const dds::core::status::SubscriptionMatchedStatus&) {}
    virtual void onSampleLost(const dds::core::status::SampleLostStatus&) {}
};

/// Carries one callback, with a copy of its status, to the apartment, where it calls `operation`. Owned by the
/// apartment's queue; each class derived from it, `Self`, has a pool of its own. Does nothing when the handler is gone.
template <typename Self, typename Status, void (DataReaderListenerHandler::*operation)(const Status&)>
class StatusEvent : public util::Pooled<Self, apartment::DoItEvent>
{
public:
    StatusEvent(std::weak_ptr<DataReaderListenerHandler> handler, const Status& status)
        : m_handler(std::move(handler)), m_status(status)
    {}

    void doIt() override
    {
        if (const auto handler = m_handler.lock())
        {
            ((*handler).*operation)(m_status);
        }
    }

private:
    std::weak_ptr<DataReaderListenerHandler> m_handler;
    Status m_status;
};

class EventOnRequestedDeadlineMissed final
    : public StatusEvent<EventOnRequestedDeadlineMissed, dds::core::status::RequestedDeadlineMissedStatus,
                         &DataReaderListenerHandler::onRequestedDeadlineMissed>
{
public:
    static constexpr const char* poolName = "EventOnRequestedDeadlineMissed";
    using StatusEvent::StatusEvent;
};

class EventOnRequestedIncompatibleQos final
    : public StatusEvent<EventOnRequestedIncompatibleQos, dds::core::status::RequestedIncompatibleQosStatus,
                         &DataReaderListenerHandler::onRequestedIncompatibleQos>
{
public:
    static constexpr const char* poolName = "EventOnRequestedIncompatibleQos";
    using StatusEvent::StatusEvent;
};

class EventOnSampleRejected final : public StatusEvent<EventOnSampleRejected, dds::core::status::SampleRejectedStatus,
                                                       &DataReaderListenerHandler::onSampleRejected>
{
public:
    static constexpr const char* poolName = "EventOnSampleRejected";
    using StatusEvent::StatusEvent;
};

class EventOnLivelinessChanged final
    : public StatusEvent<EventOnLivelinessChanged, dds::core::status::LivelinessChangedStatus,
                         &DataReaderListenerHandler::onLivelinessChanged>
{
public:
    static constexpr const char* poolName = "EventOnLivelinessChanged";
    using StatusEvent::StatusEvent;
};

/// Counts the data available events of one reader that wait, so that a flood of samples is no flood of events: each
/// takes all that has come until it begins, so a few that wait are as good as many. Thread-safe.
class WaitingEvents
{
public:
    static constexpr int most = 4;

    /// False when so many wait that one more would find nothing.
    bool add()
    {
        int count = m_count.load();
        while (count < most && !m_count.compare_exchange_weak(count, count + 1))
        {}
        return count < most;
    }
    void remove() { --m_count; }

private:
    std::atomic<int> m_count{0};
};

/// The same for the one callback that has no status. Waits until it runs or is dropped.
class EventOnDataAvailable final : public util::Pooled<EventOnDataAvailable, apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "EventOnDataAvailable";

    /// `waiting`, when there is one, has counted this event.
    explicit EventOnDataAvailable(std::weak_ptr<DataReaderListenerHandler> handler,
                                  std::shared_ptr<WaitingEvents> waiting = nullptr)
        : m_handler(std::move(handler)), m_waiting(std::move(waiting))
    {}
    ~EventOnDataAvailable() override { waitsNoMore(); }
    EventOnDataAvailable(const EventOnDataAvailable&) = delete;
    EventOnDataAvailable& operator=(const EventOnDataAvailable&) = delete;

    void doIt() override
    {
        waitsNoMore(); // first: what comes from now on needs another one
        if (const auto handler = m_handler.lock())
        {
            handler->onDataAvailable();
        }
    }

private:
    void waitsNoMore()
    {
        if (const auto waiting = std::exchange(m_waiting, nullptr))
        {
            waiting->remove();
        }
    }

    std::weak_ptr<DataReaderListenerHandler> m_handler;
    std::shared_ptr<WaitingEvents> m_waiting;
};

class EventOnSubscriptionMatched final
    : public StatusEvent<EventOnSubscriptionMatched, dds::core::status::SubscriptionMatchedStatus,
                         &DataReaderListenerHandler::onSubscriptionMatched>
{
public:
    static constexpr const char* poolName = "EventOnSubscriptionMatched";
    using StatusEvent::StatusEvent;
};

class EventOnSampleLost final : public StatusEvent<EventOnSampleLost, dds::core::status::SampleLostStatus,
                                                   &DataReaderListenerHandler::onSampleLost>
{
public:
    static constexpr const char* poolName = "EventOnSampleLost";
    using StatusEvent::StatusEvent;
};

} // namespace com::tallowcrest::routing
