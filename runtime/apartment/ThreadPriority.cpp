#include "runtime/apartment/ThreadPriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace com::tallowcrest::apartment
{

namespace
{

constexpr int preferredNice = -10;

/// What a thread had before it was preferred for the first time; empty on the others.
thread_local std::optional<int> niceBefore;
thread_local bool isPreferredNow = false;
thread_local bool interruptsNow = true;

/// On Linux a thread's own, when its id is given.
bool setNice(int nice)
{
    return ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nice) == 0;
}

} // namespace

void preferThisThread() noexcept
{
    errno = 0;
    const int before = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
    if ((before != -1 || errno == 0) && before > preferredNice && setNice(preferredNice))
    {
        niceBefore = before;
        isPreferredNow = true;
    }
}

void preferThisThread(bool isPreferred) noexcept
{
    // It was permitted before, and lower is always permitted.
    if (niceBefore && isPreferred != isPreferredNow && setNice(isPreferred ? preferredNice : *niceBefore))
    {
        isPreferredNow = isPreferred;
    }
}

void interruptOthers(bool interrupts) noexcept
{
    if (interrupts == interruptsNow)
    {
        return;
    }
    // Tried once for each change, also where it is forbidden: it only costs time then.
    interruptsNow = interrupts;
    const int before = interrupts ? SCHED_BATCH : SCHED_OTHER;
    if (::sched_getscheduler(0) == before)
    {
        const sched_param none{};
        static_cast<void>(::sched_setscheduler(0, interrupts ? SCHED_OTHER : SCHED_BATCH, &none));
    }
}

OrdinaryPriority::OrdinaryPriority() noexcept : m_wasPreferred(isPreferredNow), m_interrupted(interruptsNow)
{
    preferThisThread(false);
    interruptOthers(true);
}

OrdinaryPriority::~OrdinaryPriority()
{
    preferThisThread(m_wasPreferred);
    interruptOthers(m_interrupted);
}

} // namespace com::tallowcrest::apartment
