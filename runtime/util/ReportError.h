#pragma once

#include "runtime/util/Log.h"

namespace com::tallowcrest::util
{

/// Logs what failed and why, one text behind the other, at ERROR. For places that must not throw: when even the log
/// line cannot be made (no memory), it goes to standard error.
void reportError(const log4cxx::LoggerPtr& logger, const char* what, const char* why) noexcept;
/// The same to the program's logger.
void reportError(const char* what, const char* why) noexcept;

} // namespace com::tallowcrest::util
