#pragma once

#include "tests/fuzz/support/Feed.h"

namespace fuzz
{

/// Makes a sample of one of the six types, with any bytes where the bus allows any, and takes it the way that the
/// bridge takes it: the C struct to the value, the gate, then the tables and the texts.
void checkSample(Feed& feed);

} // namespace fuzz
