#pragma once

#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/ThreadTurns.h"

namespace com::tallowcrest::apartment
{

/// Runs the calling thread before ordinary ones (nice -10) where the process may do that, and does nothing where it may
/// not. Threads that it starts from then on inherit that, unless it starts them under an OrdinaryPriority.
void preferThisThread() noexcept;
/// Takes that back for now, or gives it again. Nothing on a thread that was never preferred.
void preferThisThread(bool isPreferred) noexcept;

/// While one lives, its thread has the priority that it had before `preferThisThread`, and takes ordinary turns: for
/// long work and for starting threads, which inherit both. Afterwards it is as before. On the stack of its thread.
class OrdinaryPriority
{
public:
    OrdinaryPriority() noexcept;
    ~OrdinaryPriority();
    OrdinaryPriority(const OrdinaryPriority&) = delete;
    OrdinaryPriority& operator=(const OrdinaryPriority&) = delete;

private:
    const bool m_wasPreferred;
    const Turns m_turns;
};

/// Gives the apartment that runs it preference over ordinary threads. Sent once, first.
class PreferThread final : public DoItEvent
{
public:
    void doIt() override { preferThisThread(); }
};

} // namespace com::tallowcrest::apartment
