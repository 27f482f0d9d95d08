#pragma once

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace com::tallowcrest::durability
{

/// Names the calling thread, at most 15 characters, for whoever looks at the process from outside.
inline void nameThread(const char* name)
{
    // Only helps: a refusal changes nothing.
    static_cast<void>(::pthread_setname_np(::pthread_self(), name));
}

/// The same, and lets ordinary threads go first (nice 10). For work that nobody waits for: not the recorder's, on whose
/// promptness it depends what outlives a sudden end of the process.
inline void enterBackground(const char* name)
{
    nameThread(name);
    static_cast<void>(::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10));
}

} // namespace com::tallowcrest::durability
