#pragma once

#include <exception>

#include "runtime/util/Log.h"

namespace com::tallowcrest::util
{

/// Writes a log line that could not be logged, and why, to standard error. Needs no memory.
__attribute__((format(printf, 2, 3))) void printUnlogged(const char* reason, const char* format, ...) noexcept;

} // namespace com::tallowcrest::util

/// LOG_ERROR_F for places that must not throw: when even the log line cannot be made (no memory), it goes to standard
/// error. A macro, because the source location must be the caller's and the logger may be looked up inside.
#define REPORT_ERROR_F(LOGGER, ...)                                                                                    \
    do                                                                                                                 \
    {                                                                                                                  \
        try                                                                                                            \
        {                                                                                                              \
            LOG_ERROR_F(LOGGER, __VA_ARGS__);                                                                          \
        }                                                                                                              \
        catch (const std::exception& korabridgeError)                                                                  \
        {                                                                                                              \
            com::tallowcrest::util::printUnlogged(korabridgeError.what(), __VA_ARGS__);                                \
        }                                                                                                              \
    } while (false)
