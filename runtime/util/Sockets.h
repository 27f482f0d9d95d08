#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/Log.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>

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

/// Clients that may wait to be accepted.
inline constexpr int listenBacklog = 4;

/// What becomes of a listening socket one of whose options the system refuses.
enum class RefusedOption
{
    IsAFailure, ///< it is not opened
    IsLogged,   ///< it does without that option
};

/// How a port is opened.
struct ListeningSocketPlan
{
    std::uint16_t port = 0;                       ///< in host order
    std::span<const SocketOption> options{};      ///< before it is bound
    std::span<const SocketOption> boundOptions{}; ///< after that
    RefusedOption refusedOption = RefusedOption::IsAFailure;
    int typeFlags = 0; ///< SOCK_NONBLOCK, if that is wanted
};

/// Takes a port on every local IPv4 address, without listening yet: connections are refused. What failed is returned,
/// nothing stays open then; refused options that are no failure go to `failures` at WARN.
std::variant<UniqueFd, Failure> bindSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& failures,
                                           SourceLocation where = SourceLocation::current());

/// Lets a bound socket listen. Logs and returns as `openListeningSocket` does; a socket that failed is of no use.
std::optional<Failure> listenOn(int socket, const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                const log4cxx::LoggerPtr& failures, SourceLocation where = SourceLocation::current());

/// Opens a socket that listens on every local IPv4 address: the two above in one. What failed is returned, not logged,
/// as the caller retries; nothing stays open then. The bind is logged at INFO, to `logger` when the port is open and to
/// `failures` when it is bound in vain; refused options that are no failure go to `failures` at WARN. All that is
/// logged or returned has the caller's location.
std::variant<UniqueFd, Failure> openListeningSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                                    const log4cxx::LoggerPtr& failures,
                                                    SourceLocation where = SourceLocation::current());

/// "127.0.0.1" of an IPv4 address in network order.
std::string dottedText(std::uint32_t networkOrderAddress);

/// "127.000.000.001" of an IPv4 address in network order.
std::string paddedText(std::uint32_t networkOrderAddress);

} // namespace com::tallowcrest::util
