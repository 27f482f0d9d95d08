#pragma once

#include <pthread.h>

#include <string>

namespace com::tallowcrest::util
{

/// Names the calling thread for whoever looks at the process from outside. The system keeps 15 bytes of it.
inline void nameThread(const std::string& name)
{
    // A longer name would be refused, not cut.
    constexpr std::size_t maxLength = 15;
    // Only helps: a refusal changes nothing.
    static_cast<void>(::pthread_setname_np(::pthread_self(), name.substr(0, maxLength).c_str()));
}

} // namespace com::tallowcrest::util
