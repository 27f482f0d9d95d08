#pragma once

#include "runtime/util/UniqueFd.h"

#include <chrono>

namespace com::tallowcrest::util
{

/// Wakes a thread, in `waitUntil` or in a `poll` of its own: the descriptor is readable from `signal` to `clear`. A
/// signal that comes while nobody waits ends the next wait at once. All methods are thread-safe; `signal` is safe in a
/// signal handler. When the system has no descriptor to give, `fd` is -1 (which `poll` ignores) and the waiters are
/// left to their timeouts.
class WakeEvent
{
public:
    using Clock = std::chrono::steady_clock;

    WakeEvent();

    void signal() const noexcept;
    void clear() const noexcept;
    /// Until a signal, which is cleared, or `deadline`.
    void waitUntil(Clock::time_point deadline) const noexcept;
    int fd() const noexcept { return m_fd.get(); }

private:
    UniqueFd m_fd;
};

} // namespace com::tallowcrest::util
