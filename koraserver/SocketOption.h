#pragma once

#include "runtime/util/FailureLog.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// One step of setting up a socket, as a row of a table.
struct SocketOption
{
    enum class Kind : std::uint8_t
    {
        Number,   ///< an int option
        Linger,   ///< a linger structure, switched on, `value` in seconds
        Blocking, ///< ioctl FIONBIO with `value`; level and name do not count
    };

    const char* text; ///< as it stands in "failed setting %s socket option on socket %d, %s"
    Kind kind;
    int level;
    int name;
    int value;
};

/// What a closed socket may still take to hand its last bytes over.
inline constexpr int lingerSeconds = 1;
/// An idle controller is probed after this time.
inline constexpr int keepIdleSeconds = 300;

/// The listening socket's options before it is bound. The last row means to switch SO_DEBUG off but names it at the TCP
/// level, where option 1 is TCP_NODELAY: the listening socket, and every socket accepted from it, runs without
/// TCP_NODELAY. That is intended; order and level stay as they are.
inline constexpr std::array<SocketOption, 5> listeningOptions{{
    {"SO_KEEPALIVE", SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
    {"SO_REUSEADDR", SocketOption::Kind::Number, SOL_SOCKET, SO_REUSEADDR, 1},
    {"FIONBIO blocking", SocketOption::Kind::Blocking, 0, 0, 0},
    {"TCP_NODELAY", SocketOption::Kind::Number, IPPROTO_TCP, TCP_NODELAY, 1},
    {"SO_DEBUG", SocketOption::Kind::Number, IPPROTO_TCP, SO_DEBUG, 0},
}};

/// Those after it is bound.
inline constexpr std::array<SocketOption, 1> boundOptions{{
    {"SO_LINGER", SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, lingerSeconds},
}};

/// Those of an accepted controller.
inline constexpr std::array<SocketOption, 3> acceptedOptions{{
    {"SO_LINGER", SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, lingerSeconds},
    {"SO_KEEPALIVE", SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
    {"TCP_KEEPIDLE", SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, keepIdleSeconds},
}};

/// Runs the steps in order up to the first that fails, which is returned.
std::optional<com::tallowcrest::util::Failure> applySocketOptions(int socket, std::span<const SocketOption> options);
