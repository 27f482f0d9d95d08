#include "runtime/apartment/ThreadPriority.h"

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

OrdinaryPriority::OrdinaryPriority() noexcept : m_wasPreferred(isPreferredNow), m_turns(turnsTaken())
{
    preferThisThread(false);
    takeTurns(Turns::Ordinary);
}

OrdinaryPriority::~OrdinaryPriority()
{
    preferThisThread(m_wasPreferred);
    takeTurns(m_turns);
}

} // namespace com::tallowcrest::apartment
