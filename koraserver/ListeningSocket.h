#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <variant>

/// The port on which controllers reach the bridge.
inline constexpr std::uint16_t serverPort = 5194;
/// Controllers that may wait to be accepted.
inline constexpr int listenBacklog = 4;

/// Opens a socket that listens on every local IPv4 address at `port` (host order); a successful bind is logged at INFO
/// to `logger`. What failed is returned, not logged, as the caller retries; nothing stays open then.
std::variant<com::tallowcrest::util::UniqueFd, com::tallowcrest::util::Failure>
openListeningSocket(std::uint16_t port, const log4cxx::LoggerPtr& logger);
