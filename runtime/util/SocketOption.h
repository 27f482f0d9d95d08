#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/SourceLocation.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace com::tallowcrest::util
{

/// One step of setting up a socket, as a row of a table.
struct SocketOption
{
    enum class Kind : std::uint8_t
    {
        Number,   ///< an int option
        Linger,   ///< a linger structure, switched on, `value` in seconds
        Blocking, ///< ioctl FIONBIO with `value`; level and name do not count
    };

    const char* text = ""; ///< the first of "failed setting %s socket option on %s %d, %s"
    Kind kind = Kind::Number;
    int level = 0;
    int name = 0;
    int value = 0;
    const char* socket = "socket"; ///< the second
};

/// Lets a close reset the connection.
inline constexpr std::array<SocketOption, 1> resetOnClose{
    {{"SO_LINGER", SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, 0, "clientsocket"}}};

/// Runs the steps in order up to the first that fails, which is returned with the caller's location.
std::optional<Failure> applySocketOptions(int socket, std::span<const SocketOption> options,
                                          SourceLocation where = SourceLocation::current());

/// Runs all the steps; each that fails is logged at WARN with the caller's location.
void tryEachSocketOption(int socket, std::span<const SocketOption> options, const log4cxx::LoggerPtr& logger,
                         SourceLocation where = SourceLocation::current());

} // namespace com::tallowcrest::util
