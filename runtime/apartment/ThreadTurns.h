#pragma once

namespace com::tallowcrest::apartment
{

/// When a thread runs that has been woken while another one of its priority is running.
enum class Turns
{
    Ordinary, ///< as the system has it: at once or soon, whoever has had more of the processor waits
    Short,    ///< sooner, for 0.1 ms at a time: for who is quickly done. Linux 6.12 and later, else as Ordinary
    Patient   ///< when the other one waits or has had its turn, at most some milliseconds (SCHED_BATCH)
};

/// The calling thread takes turns so from now on, and so do the threads that it starts then. Needs no right, and leaves
/// its priority alone. Does nothing on a thread whose way of being scheduled somebody else has chosen.
void takeTurns(Turns turns) noexcept;

/// What the calling thread was told last.
Turns turnsTaken() noexcept;

} // namespace com::tallowcrest::apartment
