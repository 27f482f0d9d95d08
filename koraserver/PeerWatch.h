#pragma once

#include "runtime/util/Sockets.h"

#include <array>
#include <chrono>
#include <optional>

/// What the system knows of the far end of a connection.
struct PeerSigns
{
    bool isAskedInVain = false;                  ///< an answer sent again, or a probe, that is not confirmed yet
    std::chrono::milliseconds sinceConfirmation; ///< since the peer last confirmed anything
};

/// Reads them from a connected socket; nothing when the system does not tell.
std::optional<PeerSigns> peerSigns(int socket);

/// Tells that the peer of one connection has vanished (its power, its cable) once it has confirmed nothing for half a
/// minute although it was asked to. A peer that is silent, or does not read, but is there confirms probes and stays. A
/// plain value that belongs to one thread.
///
/// The system's own limit for unconfirmed data would do neither: it gives up a peer that does not read, and makes one
/// lost probe the end of a silent connection.
class PeerWatch
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds patience{30};

    bool hasVanished(const PeerSigns& signs, Clock::time_point now);

private:
    std::optional<Clock::time_point> m_askedSince;
};

/// Decides when silent controllers are probed soon: while every slot is taken, and a minute beyond. Without that minute
/// a newcomer that comes and goes could have a peer probed faster than it can answer. A plain value that belongs to one
/// thread.
class SlotPressure
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds calm{60};

    bool isHigh(bool isFull, Clock::time_point now);

private:
    std::optional<Clock::time_point> m_lastFull;
};

/// When a silent controller is probed, and how often until it counts as gone, beside what `acceptedOptions` say: thirty
/// seconds from the first probe to the end.
inline constexpr std::array<com::tallowcrest::util::SocketOption, 3> calmProbes{{
    {"TCP_KEEPINTVL", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPINTVL, 10},
    {"TCP_KEEPCNT", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPCNT, 3},
    {"TCP_KEEPIDLE", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, 300},
}};

/// The same while a newcomer may be waiting: half a minute of silence, then fifteen seconds. The last row has the
/// system probe those at once that have been silent for longer.
inline constexpr std::array<com::tallowcrest::util::SocketOption, 3> urgentProbes{{
    {"TCP_KEEPINTVL", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPINTVL, 5},
    {"TCP_KEEPCNT", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPCNT, 3},
    {"TCP_KEEPIDLE", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, 30},
}};
