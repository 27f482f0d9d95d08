#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace koractl
{

/// The whole program but for the process: `arguments` are those after the program's name; results go to `out`, troubles
/// to `err`. Returns the exit status (see `ExitStatus`) and throws nothing.
int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

} // namespace koractl
