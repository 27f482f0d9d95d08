#pragma once

#include <log4cxx/logger.h>

#include <array>
#include <cstdio>

/// printf-style log lines. A line is formatted into a 200-byte buffer (longer text is cut), then handed to log4cxx with
/// the source location. Nothing is formatted while the level is switched off or the logger pointer is null.
/// Macros, because the source location must be the caller's.
namespace com::tallowcrest::util
{

inline constexpr std::size_t logLineSize = 200;

/// As the log's configuration calls it.
inline constexpr const char* bridgeLoggerName = "KORABRIDGE";

/// The logger of everything in the bridge. Any thread.
inline log4cxx::LoggerPtr bridgeLogger()
{
    return log4cxx::Logger::getLogger(bridgeLoggerName);
}

} // namespace com::tallowcrest::util

#define KORABRIDGE_LOG_AT(LOGGER, IS_ENABLED, LOG4CXX_MACRO, ...)                                                      \
    do                                                                                                                 \
    {                                                                                                                  \
        const auto& korabridgeLogger = (LOGGER);                                                                       \
        if (korabridgeLogger != nullptr && korabridgeLogger->IS_ENABLED())                                             \
        {                                                                                                              \
            std::array<char, com::tallowcrest::util::logLineSize> korabridgeLine{};                                    \
            static_cast<void>(std::snprintf(korabridgeLine.data(), korabridgeLine.size(), __VA_ARGS__));               \
            LOG4CXX_MACRO(korabridgeLogger, korabridgeLine.data());                                                    \
        }                                                                                                              \
    } while (false)

#define LOG_DEBUG_F(LOGGER, ...) KORABRIDGE_LOG_AT(LOGGER, isDebugEnabled, LOG4CXX_DEBUG, __VA_ARGS__)
#define LOG_INFO_F(LOGGER, ...) KORABRIDGE_LOG_AT(LOGGER, isInfoEnabled, LOG4CXX_INFO, __VA_ARGS__)
#define LOG_WARN_F(LOGGER, ...) KORABRIDGE_LOG_AT(LOGGER, isWarnEnabled, LOG4CXX_WARN, __VA_ARGS__)
#define LOG_ERROR_F(LOGGER, ...) KORABRIDGE_LOG_AT(LOGGER, isErrorEnabled, LOG4CXX_ERROR, __VA_ARGS__)
