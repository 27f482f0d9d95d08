#pragma once

#include "tools/koractl/common/CommandContext.h"

#include <string>
#include <vector>

namespace koractl
{

/// The whole program but for the process: `arguments` are those after the program's name. Returns the exit status (see
/// `ExitStatus`) and throws nothing.
int runCommandLine(const std::vector<std::string>& arguments, const ProgramStreams& streams);

} // namespace koractl
