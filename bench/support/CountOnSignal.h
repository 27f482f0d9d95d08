#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>

namespace bench
{

/// The signals that a counting program is driven by: SIGUSR1, SIGTERM and SIGINT. Blocks them for the calling thread
/// and every thread it makes from now on: call it before anything makes a thread.
sigset_t blockCountSignals();

/// Prints "samples N" on each SIGUSR1, and a last time on SIGTERM or SIGINT, which ends it.
void printCountOnSignal(const sigset_t& signals, const std::atomic<std::uint64_t>& count);

} // namespace bench
