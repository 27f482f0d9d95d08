#pragma once

#include "tools/korapanel/Options.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace korapanel
{

/// Exit statuses of the program.
enum class ExitStatus : int
{
    done = 0,
    usage = 2,   ///< wrong arguments, or a file that cannot be read
    trouble = 3, ///< the system refuses something, a port for example
};

/// The whole program but for the process: `arguments` are those after the program's name. `run` runs the panel. Returns
/// the exit status and throws nothing.
int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
                   const std::function<void(const Options&)>& run);

} // namespace korapanel
