#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "bench/korabench/CommandMix.h"
#include "bench/korabench/Controller.h"
#include "bench/korabench/Request.h"

namespace korabench
{

struct CommandLine
{
    Endpoint endpoint;
    std::uint32_t connections = 1;
    std::uint32_t threads = 1;
    std::vector<Command> order{Command::Take};
    RequestShape shape;
    std::chrono::nanoseconds warmUp{0};
    std::chrono::nanoseconds duration{0};
    std::chrono::nanoseconds interval{0};
    std::uint64_t awaitedChanges = 0;
    bool isJson = false;
};

/// Empty when the program is to end at once with `status`: 0 after help, 2 for wrong arguments.
std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status);

} // namespace korabench
