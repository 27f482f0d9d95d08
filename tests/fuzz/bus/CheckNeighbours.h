#pragma once

#include "tests/fuzz/support/Feed.h"

namespace fuzz
{

/// Has the core that keeps durable targets hear what other participants say on the companion topics, and on the topic
/// itself: digests of any number, rows of any instance and time, wishes, comings and goings, in any order. However they
/// go about it, the core stays within its bounds, and a join ends in time.
void checkNeighbours(Feed& feed);

} // namespace fuzz
