#pragma once

#include <optional>
#include <vector>

#include "bench/korabench/Client.h"
#include "bench/korabench/CommandMix.h"
#include "bench/korabench/LoadOptions.h"
#include "bench/korabench/Request.h"

namespace korabench
{

struct CommandLine
{
    Endpoint endpoint;
    LoadOptions load;
    std::vector<Command> order{Command::Take};
    RequestShape shape;
};

/// Empty when the program is to end at once with `status`: 0 after help, 2 for wrong arguments.
std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status);

} // namespace korabench
