#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <iostream>

namespace bench
{

/// The signals that a counting program is driven by: SIGUSR1, SIGTERM and SIGINT. Blocks them for the calling thread
/// and every thread it makes from now on: call it before anything makes a thread.
inline sigset_t blockCountSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    static_cast<void>(::pthread_sigmask(SIG_BLOCK, &signals, nullptr)); // fails only for a wrong first argument
    return signals;
}

/// Prints "samples N" on each SIGUSR1, and a last time on SIGTERM or SIGINT, which ends it.
inline void printCountOnSignal(const sigset_t& signals, const std::atomic<std::uint64_t>& count)
{
    for (int signal = SIGUSR1; signal == SIGUSR1;)
    {
        static_cast<void>(::sigwait(&signals, &signal));
        std::cout << "samples " << count << std::endl;
    }
}

} // namespace bench
