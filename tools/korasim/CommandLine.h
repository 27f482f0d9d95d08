#pragma once

#include "tools/korasim/RouterOptions.h"

#include <optional>

namespace korasim
{

/// What the program's arguments ask for.
struct CommandLine
{
    RouterOptions router;
    bool isExitingAtEof = false; ///< end with the script instead of waiting for a signal
    bool isSilentStart = false;  ///< publish nothing until the script says "announce"
};

/// Reads the arguments. When there is nothing to run (--help, --version, an error, each of which has printed its text)
/// the exit status comes back in `status` and no command line.
std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status);

} // namespace korasim
