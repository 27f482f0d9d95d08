#pragma once

#include "tools/koractl/doctor/Facts.h"

#include <iosfwd>

namespace koractl
{

/// What the lines of a bridge's log say, whatever stands before each text; of several starts only the last counts.
/// Trouble that a later line ends is none. Lines of the peer's making are shown as visible text. Pure.
LogFacts readLog(std::istream& lines);

} // namespace koractl
