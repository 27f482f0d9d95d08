#include "runtime/apartment/ThreadTurns.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace com::tallowcrest::apartment
{

namespace
{

/// What sched_setattr(2) takes. Older C libraries have neither the call nor the type, and the kernel's header defines
/// what <sched.h> does.
struct Attributes
{
    std::uint32_t size = sizeof(Attributes);
    std::uint32_t policy = 0;
    std::uint64_t flags = 0;
    std::int32_t nice = 0;
    std::uint32_t priority = 0;
    std::uint64_t runtimeNs = 0; ///< of an ordinary thread the length of its turn; 0: the system's own
    std::uint64_t deadlineNs = 0;
    std::uint64_t periodNs = 0;
};
static_assert(sizeof(Attributes) == 48);

/// The shortest that the system grants.
constexpr std::uint64_t shortTurnNs = 100'000;

thread_local Turns turnsNow = Turns::Ordinary;

std::uint32_t policyOf(Turns turns)
{
    return turns == Turns::Patient ? SCHED_BATCH : SCHED_OTHER;
}

} // namespace

void takeTurns(Turns turns) noexcept
{
    if (turns == turnsNow)
    {
        return;
    }
    // Tried once for each change, also where it is forbidden: it only costs time then.
    const std::uint32_t before = policyOf(turnsNow);
    turnsNow = turns;
    Attributes attributes;
    if (::syscall(SYS_sched_getattr, 0, &attributes, sizeof attributes, 0) == 0 && attributes.policy == before)
    {
        attributes.policy = policyOf(turns);
        attributes.runtimeNs = turns == Turns::Short ? shortTurnNs : 0;
        static_cast<void>(::syscall(SYS_sched_setattr, 0, &attributes, 0));
    }
}

Turns turnsTaken() noexcept
{
    return turnsNow;
}

} // namespace com::tallowcrest::apartment
