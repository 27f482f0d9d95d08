#pragma once

#include "runtime/util/ThreadName.h"

#include <sys/resource.h>
#include <unistd.h>

namespace com::tallowcrest::durability
{

/// Names the calling thread and lets ordinary threads go first (nice 10). For work that nobody waits for: not the
/// recorder's, on whose promptness it depends what outlives a sudden end of the process.
inline void enterBackground(const char* name)
{
    util::nameThread(name);
    static_cast<void>(::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10));
}

} // namespace com::tallowcrest::durability
