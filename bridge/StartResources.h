#pragma once

#include <log4cxx/logger.h>

#include <chrono>
#include <cstddef>
#include <string>

/// What the process needs before it builds anything. The DDS implementation ends the process by abort() when it gets no
/// thread or no memory, and crashes without descriptors; so the bridge looks first.
struct StartResources
{
    std::size_t descriptors; ///< beside those that are open already
    std::size_t threads;     ///< beside the main thread
    std::size_t memory;      ///< bytes of heap, beside the threads' stacks

    /// What is missing at the moment, as a text for people; empty when nothing is. Takes everything at once and gives
    /// it back.
    std::string missing() const;
};

/// All that a bridge with one controller holds, with some room: the sockets and files of the console, the bus and the
/// store, and the threads of the bridge, of the bus (security and multicast included) and of the store.
inline constexpr StartResources bridgeStartResources{24, 16, std::size_t{4} * 1024 * 1024};

/// Waits until the resources are there, with one WARN when they are not at once. Throws std::runtime_error with what is
/// missing when `patience` is over or the operator ends the bridge.
void awaitStartResources(const log4cxx::LoggerPtr& logger, const StartResources& needed = bridgeStartResources,
                         std::chrono::milliseconds patience = std::chrono::seconds(10));
