#pragma once

#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <variant>

/// The port on which controllers reach the bridge.
inline constexpr std::uint16_t serverPort = 5194;
/// What a closed socket may still take to hand its last bytes over.
inline constexpr int lingerSeconds = 1;
/// An idle controller is probed after this time.
inline constexpr int keepIdleSeconds = 300;

/// The listening socket's options before it is bound. The last row means to switch SO_DEBUG off but names it at the TCP
/// level, where option 1 is TCP_NODELAY: the listening socket, and every socket accepted from it, runs without
/// TCP_NODELAY. That is intended; order and level stay as they are.
inline constexpr std::array<com::tallowcrest::util::SocketOption, 5> listeningOptions{{
    {"SO_KEEPALIVE", com::tallowcrest::util::SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
    {"SO_REUSEADDR", com::tallowcrest::util::SocketOption::Kind::Number, SOL_SOCKET, SO_REUSEADDR, 1},
    {"FIONBIO blocking", com::tallowcrest::util::SocketOption::Kind::Blocking, 0, 0, 0},
    {"TCP_NODELAY", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_NODELAY, 1},
    {"SO_DEBUG", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, SO_DEBUG, 0},
}};

/// Those after it is bound.
inline constexpr std::array<com::tallowcrest::util::SocketOption, 1> boundOptions{{
    {"SO_LINGER", com::tallowcrest::util::SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, lingerSeconds},
}};

/// Those of an accepted controller.
inline constexpr std::array<com::tallowcrest::util::SocketOption, 3> acceptedOptions{{
    {"SO_LINGER", com::tallowcrest::util::SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, lingerSeconds},
    {"SO_KEEPALIVE", com::tallowcrest::util::SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
    {"TCP_KEEPIDLE", com::tallowcrest::util::SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, keepIdleSeconds},
}};

/// Opens the port for controllers; see `openListeningSocket`.
inline std::variant<com::tallowcrest::util::UniqueFd, com::tallowcrest::util::Failure>
openControllerPort(const log4cxx::LoggerPtr& logger,
                   com::tallowcrest::util::SourceLocation where = com::tallowcrest::util::SourceLocation::current())
{
    return com::tallowcrest::util::openListeningSocket(
        {.port = serverPort, .options = listeningOptions, .boundOptions = boundOptions}, logger, logger, where);
}

/// Waits until the system has sent what it was given for a peer that receives no more than its time, or until the
/// socket is shut down or broken. Sends nothing else.
void waitUntilSent(int socket, std::chrono::milliseconds limit);

/// Readies a socket that was shut down for a close() that returns at once, whatever its SO_LINGER says, so that the
/// thread that closes is held up by no peer. A peer that has taken what was sent gets a clean end of stream from the
/// system; one that left data waiting on our side is reset, and the data is dropped.
void prepareToClose(int socket);
