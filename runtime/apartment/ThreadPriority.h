#pragma once

#include "runtime/apartment/DoItEvent.h"

namespace com::tallowcrest::apartment
{

/// Runs the calling thread before ordinary ones (nice -10) where the process may do that, and does nothing where it may
/// not. Threads that it starts from then on inherit that, unless it starts them under an OrdinaryPriority.
void preferThisThread() noexcept;
/// Takes that back for now, or gives it again. Nothing on a thread that was never preferred.
void preferThisThread(bool isPreferred) noexcept;

/// Whether the calling thread interrupts another one of its priority when it is woken, as is ordinary, or waits until
/// that one waits or has had its turn, at most some milliseconds (SCHED_BATCH). Needs no right. Does nothing on a
/// thread whose way of being scheduled somebody else has chosen.
void interruptOthers(bool interrupts) noexcept;

/// While one lives, its thread has the priority that it had before `preferThisThread`, and interrupts others: for long
/// work and for starting threads, which inherit both. Afterwards it is as before. On the stack of its thread.
class OrdinaryPriority
{
public:
    OrdinaryPriority() noexcept;
    ~OrdinaryPriority();
    OrdinaryPriority(const OrdinaryPriority&) = delete;
    OrdinaryPriority& operator=(const OrdinaryPriority&) = delete;

private:
    const bool m_wasPreferred;
    const bool m_interrupted;
};

/// Gives the apartment that runs it preference over ordinary threads. Sent once, first.
class PreferThread final : public DoItEvent
{
public:
    void doIt() override { preferThisThread(); }
};

} // namespace com::tallowcrest::apartment
