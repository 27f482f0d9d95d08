#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <memory>

namespace com::tallowcrest::apartment
{

/// Accepts events for later execution. Senders hold an apartment through this interface.
class SendDoItEvent
{
public:
    SendDoItEvent() = default;
    virtual ~SendDoItEvent() = default;
    SendDoItEvent(const SendDoItEvent&) = delete;
    SendDoItEvent& operator=(const SendDoItEvent&) = delete;

    /// Queues `event` behind all earlier ones. Any thread; never waits for the event to run. Takes ownership when it
    /// returns; when it throws (no memory, mutex failure) the caller still owns the event.
    virtual void send(DoItEvent* event) = 0;
};

/// Sends an event that is owned by a smart pointer; when sending throws, the event is destroyed.
inline void post(SendDoItEvent& sender, std::unique_ptr<DoItEvent> event)
{
    sender.send(event.get());
    static_cast<void>(event.release());
}

} // namespace com::tallowcrest::apartment
