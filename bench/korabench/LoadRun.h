#pragma once

#include "bench/korabench/Client.h"
#include "bench/korabench/CommandLine.h"
#include "bench/korabench/Report.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace korabench
{

/// Makes the client of a number, from 0 on. May throw NotConnected: then it is asked again for some seconds.
using ClientFactory = std::function<std::unique_ptr<Client>(std::uint32_t index)>;

/// Connects the clients, runs the load and sums it up. Throws std::runtime_error when the server is not there, goes
/// away or answers wrongly, and when awaited changes did not come. Prints "ready" on standard output when changes are
/// awaited.
Report runLoad(const LoadOptions& options, const ClientFactory& makeClient);

/// Controllers of the bridge; those whose requests poll for changes have polled until nothing was left.
ClientFactory controllerFactory(const CommandLine& commandLine);

} // namespace korabench
