#pragma once

#include "bench/korabench/CommandLine.h"
#include "bench/korabench/Report.h"

namespace korabench
{

/// Connects, lets every controller poll until it knows of no changes, runs the load and sums it up. Throws
/// std::runtime_error when the bridge is not there, goes away or answers wrongly, and when awaited changes did not
/// come. Prints "ready" on standard output when changes are awaited.
Report runLoad(const CommandLine& commandLine);

} // namespace korabench
