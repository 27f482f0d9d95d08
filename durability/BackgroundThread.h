#pragma once

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace com::tallowcrest::durability
{

/// Names the calling thread, at most 15 characters, for whoever looks at the process from outside, and lets ordinary
/// threads go first (nice 10): those that answer controllers never wait for what is kept of their takes.
inline void enterBackground(const char* name)
{
    // Only helps: a refusal of either changes nothing.
    static_cast<void>(::pthread_setname_np(::pthread_self(), name));
    static_cast<void>(::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10));
}

} // namespace com::tallowcrest::durability
