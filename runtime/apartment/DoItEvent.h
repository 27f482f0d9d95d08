#pragma once

namespace com::tallowcrest::apartment
{

/// One unit of work for an apartment. The sender allocates it; once it is sent, the apartment owns it, runs `doIt` on
/// its own thread and deletes it. An exception thrown by `doIt` is logged by the apartment and ends nothing.
class DoItEvent
{
public:
    DoItEvent() = default;
    virtual ~DoItEvent() = default;
    DoItEvent(const DoItEvent&) = delete;
    DoItEvent& operator=(const DoItEvent&) = delete;

    /// Runs the work, on the thread of the apartment to which the event was sent.
    virtual void doIt() = 0;

    /// Done within some microseconds and waits for nothing: others may wait for it. See Round.
    bool isBrief() const { return m_isBrief; }

protected:
    /// For constructors of derived classes.
    void setBrief() { m_isBrief = true; }

private:
    bool m_isBrief = false;
};

} // namespace com::tallowcrest::apartment
