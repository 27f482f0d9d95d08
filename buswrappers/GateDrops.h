#pragma once

#include <string_view>

namespace com::tallowcrest::routing
{

// Counts the samples that no handler sees, for those who watch the bridge. Any thread.

/// Of an instance that a reader has no place for.
void countTurnedAway();
/// Dropped for one of `dds_::routing::fault`.
void countUnsound(std::string_view fault);

} // namespace com::tallowcrest::routing
