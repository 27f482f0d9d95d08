#pragma once

#include <functional>
#include <memory>

namespace com::tallowcrest::apartment
{

/// One unit of work for an apartment. The sender allocates it; once it is sent, the apartment owns it, runs `doIt` on
/// its own thread, `afterRound` when the round is over in which that was (see Round), and deletes it. An exception
/// thrown by either is logged by the apartment and ends nothing.
class DoItEvent
{
public:
    DoItEvent() = default;
    virtual ~DoItEvent() = default;
    DoItEvent(const DoItEvent&) = delete;
    DoItEvent& operator=(const DoItEvent&) = delete;

    /// Runs the work, on the thread of the apartment to which the event was sent.
    virtual void doIt() = 0;
    /// Does what must wait until all that the round's events wrote on the bus has left: tells whoever waits. On the
    /// same thread.
    virtual void afterRound() {}

    /// Done within some microseconds and waits for nothing: others may wait for it. See Round.
    bool isBrief() const { return m_isBrief; }
    /// Tells apart those who wait for an answer to it, one event at a time each; null when nobody waits.
    const void* waiter() const { return m_waiter; }

protected:
    /// For constructors of derived classes.
    void setBrief() { m_isBrief = true; }
    void setWaiter(const void* waiter) { m_waiter = waiter; }

private:
    bool m_isBrief = false;
    const void* m_waiter = nullptr; ///< never looked into
};

/// Does nothing; sent to wake an apartment's thread.
class EmptyDoItEvent final : public DoItEvent
{
public:
    void doIt() override {}
};

/// Runs a piece of an apartment's work. An exception is logged at ERROR to "KORABRIDGE" and goes no further.
void runCall(const std::function<void()>& call) noexcept;

/// The same for the two halves of an event.
void runEvent(DoItEvent& event) noexcept;
void runAfterRound(DoItEvent& event) noexcept;

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
