#pragma once

#include "runtime/util/UniqueFd.h"

namespace com::tallowcrest::util
{

/// An event for threads that wait in `poll`: the descriptor is readable from `signal` to `clear`. All methods are
/// thread-safe; `signal` is safe in a signal handler. When the system has no descriptor to give, `fd` is -1 (which
/// `poll` ignores) and the waiters are left to their timeouts.
class WakeEvent
{
public:
    WakeEvent();

    void signal() const noexcept;
    void clear() const noexcept;
    int fd() const noexcept { return m_fd.get(); }

private:
    UniqueFd m_fd;
};

} // namespace com::tallowcrest::util
