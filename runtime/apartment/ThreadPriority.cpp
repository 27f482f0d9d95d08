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

/// What a preferred thread had before; empty on the others.
thread_local std::optional<int> niceBefore;

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
    }
}

OrdinaryPriority::OrdinaryPriority() noexcept
{
    if (niceBefore)
    {
        static_cast<void>(setNice(*niceBefore)); // lower is always permitted
    }
}

OrdinaryPriority::~OrdinaryPriority()
{
    if (niceBefore)
    {
        static_cast<void>(setNice(preferredNice)); // was permitted before
    }
}

} // namespace com::tallowcrest::apartment
