#pragma once

#include "koraclient/Watch.h"
#include "tools/korapanel/Options.h"

#include <iosfwd>

namespace korapanel
{

/// Runs the panel until the condition wants the end: says on `out` where it listens, and what is pressed. Throws what
/// keeps it from starting: koractl::FileError, std::runtime_error, each with a sentence.
void runPanel(const Options& options, koraclient::StopCondition& stop, std::ostream& out);

} // namespace korapanel
