#pragma once

#include "runtime/util/Log.h"

/// Logs "<what>: <text>" at ERROR. For places that must not throw: when even the log line cannot be made (no memory),
/// it goes to standard error.
void reportError(const log4cxx::LoggerPtr& logger, const char* what, const char* text) noexcept;
