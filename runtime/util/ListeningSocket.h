#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/SocketOption.h"
#include "runtime/util/SourceLocation.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <span>
#include <variant>

namespace com::tallowcrest::util
{

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

/// Opens a socket that listens on every local IPv4 address. What failed is returned, not logged, as the caller retries;
/// nothing stays open then. The bind is logged at INFO, to `logger` when the port is open and to `failures` when it is
/// bound in vain; refused options that are no failure go to `failures` at WARN. All that is logged or returned has the
/// caller's location.
std::variant<UniqueFd, Failure> openListeningSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                                    const log4cxx::LoggerPtr& failures,
                                                    SourceLocation where = SourceLocation::current());

} // namespace com::tallowcrest::util
