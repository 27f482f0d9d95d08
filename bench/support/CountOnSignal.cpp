#include "bench/support/CountOnSignal.h"

#include <iostream>

#include <pthread.h>

namespace bench
{

sigset_t blockCountSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    static_cast<void>(::pthread_sigmask(SIG_BLOCK, &signals, nullptr)); // fails only for a wrong first argument
    return signals;
}

void printCountOnSignal(const sigset_t& signals, const std::atomic<std::uint64_t>& count)
{
    for (int signal = SIGUSR1; signal == SIGUSR1;)
    {
        static_cast<void>(::sigwait(&signals, &signal));
        std::cout << "samples " << count << std::endl;
    }
}

} // namespace bench
