#pragma once

#include "runtime/util/UniqueFd.h"
#include "runtime/util/WakeEvent.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

namespace koraclient
{

/// A non-blocking TCP socket connected to the first address of `host` (a name or a numeric address) that accepts, and
/// that sends each request at once. Only the resolving of a name is not bound by the deadline: it is the system
/// resolver's. Throws ConnectError, and Interrupted as `waitUntilReady` does.
com::tallowcrest::util::UniqueFd connectTo(const std::string& host, std::uint16_t port,
                                           std::chrono::steady_clock::time_point deadline,
                                           const com::tallowcrest::util::WakeEvent* interrupt = nullptr);

/// Waits until `events` (as for poll) are possible on `fd`; false at the deadline. An error or hang-up counts as
/// possible: the operation that follows reports it. Throws PeerClosed when the system refuses to wait, and Interrupted
/// as soon as `interrupt` is signalled, which it does not clear.
bool waitUntilReady(int fd, short events, std::chrono::steady_clock::time_point deadline,
                    const com::tallowcrest::util::WakeEvent* interrupt = nullptr);

/// A connected, non-blocking TCP socket whose every operation ends at a deadline. Owned by one thread. Failures are
/// thrown: ConnectError, TimeoutError, PeerClosed, Interrupted.
class ClientSocket
{
public:
    using Clock = std::chrono::steady_clock;

    /// Resolves `host` (a name or a numeric address) and connects to the first of its addresses that accepts. Only the
    /// resolving of a name is not bound by the deadline: it is the system resolver's. `interrupt` ends every wait, and
    /// outlives the socket.
    ClientSocket(const std::string& host, std::uint16_t port, Clock::time_point deadline,
                 const com::tallowcrest::util::WakeEvent* interrupt = nullptr);

    /// Sends all bytes. A peer that is gone gives PeerClosed, never a signal.
    void sendAll(std::span<const std::uint8_t> bytes, Clock::time_point deadline);

    /// Waits for bytes and returns how many were put into `buffer`, at least 1.
    std::size_t receiveSome(std::span<std::uint8_t> buffer, Clock::time_point deadline);

private:
    /// Until `events` are possible. At the deadline and at an interruption the request is given up: from then on
    /// closing resets the connection. Otherwise the system would go on sending what the bridge has not acknowledged,
    /// and a take that was given up could be done after the ones that the next connection carries.
    void waitOrGiveUp(short events, Clock::time_point deadline, const char* why) const;
    void resetWhenClosed() const;

    const com::tallowcrest::util::WakeEvent* m_interrupt;
    com::tallowcrest::util::UniqueFd m_fd;
};

} // namespace koraclient
