#pragma once

#include "runtime/util/UniqueFd.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

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

/// A connected, non-blocking TCP socket whose every operation ends at a deadline. Owned by one thread. Failures are
/// thrown: ConnectError, TimeoutError, PeerClosed.
class ClientSocket
{
public:
    using Clock = std::chrono::steady_clock;

    /// Resolves `host` (a name or a numeric address) and connects to the first of its addresses that accepts. Only the
    /// resolving of a name is not bound by the deadline: it is the system resolver's.
    ClientSocket(const std::string& host, std::uint16_t port, Clock::time_point deadline);

    /// Sends all bytes. A peer that is gone gives PeerClosed, never a signal.
    void sendAll(std::span<const std::uint8_t> bytes, Clock::time_point deadline);

    /// Waits for bytes and returns how many were put into `buffer`, at least 1.
    std::size_t receiveSome(std::span<std::uint8_t> buffer, Clock::time_point deadline);

private:
    com::tallowcrest::util::UniqueFd m_fd;
};

} // namespace koraclient
