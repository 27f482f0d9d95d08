#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "runtime/util/UniqueFd.h"

namespace koraclient
{

/// A non-blocking TCP socket connected to the first address of `host` (a name or a numeric address) that accepts, and
/// that sends each request at once. Only the resolving of a name is not bound by the deadline: it is the system
/// resolver's. Throws ConnectError.
com::tallowcrest::util::UniqueFd connectTo(const std::string& host, std::uint16_t port,
                                           std::chrono::steady_clock::time_point deadline);

/// Waits until `events` (as for poll) are possible on `fd`; false at the deadline. An error or hang-up counts as
/// possible: the operation that follows reports it. Throws PeerClosed when the system refuses to wait.
bool waitUntilReady(int fd, short events, std::chrono::steady_clock::time_point deadline);

} // namespace koraclient
