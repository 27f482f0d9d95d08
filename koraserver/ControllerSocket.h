#pragma once

#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
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

inline constexpr com::tallowcrest::util::ListeningSocketPlan controllerPortPlan{
    .port = serverPort, .options = listeningOptions, .boundOptions = boundOptions};

/// Opens the port for controllers; see `openListeningSocket`.
inline std::variant<com::tallowcrest::util::UniqueFd, com::tallowcrest::util::Failure>
openControllerPort(const log4cxx::LoggerPtr& logger,
                   com::tallowcrest::util::SourceLocation where = com::tallowcrest::util::SourceLocation::current())
{
    return com::tallowcrest::util::openListeningSocket(controllerPortPlan, logger, logger, where);
}

/// The port for controllers, held from `hold` to `release` whether it listens or not: no other account's program can
/// take it and answer in the bridge's place. Belongs to one thread.
///
/// SO_REUSEADDR, which a restart needs because of the last process's connections, would also let others bind beside a
/// socket that does not listen; so it is on while the port is bound and while it listens, and off in between.
class ControllerPort
{
public:
    explicit ControllerPort(log4cxx::LoggerPtr logger) : m_logger(std::move(logger)) {}

    /// Takes the port without listening, if it is not held. Controllers are refused by the system.
    std::optional<com::tallowcrest::util::Failure>
    hold(com::tallowcrest::util::SourceLocation where = com::tallowcrest::util::SourceLocation::current());
    /// Lets the port, which is held, listen; logged at INFO. When that fails the port is released.
    std::optional<com::tallowcrest::util::Failure>
    listen(com::tallowcrest::util::SourceLocation where = com::tallowcrest::util::SourceLocation::current());
    /// Ends the listening. Controllers that were not accepted yet are reset.
    void refuse();
    void release();

    bool isListening() const { return m_isListening; }
    int fd() const { return m_socket.get(); }

private:
    log4cxx::LoggerPtr m_logger;
    com::tallowcrest::util::UniqueFd m_socket;
    bool m_isListening = false;
};

/// Waits until the system has sent what it was given for a peer that receives no more than its time, or until the
/// socket is shut down or broken. Sends nothing else.
void waitUntilSent(int socket, std::chrono::milliseconds limit);

/// Readies a socket that was shut down for a close() that returns at once, whatever its SO_LINGER says, so that the
/// thread that closes is held up by no peer. A peer that has taken what was sent gets a clean end of stream from the
/// system; one that left data waiting on our side is reset, and the data is dropped.
void prepareToClose(int socket);
