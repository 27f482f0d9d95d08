#pragma once

#include "runtime/util/SourceLocation.h"

#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/location/locationinfo.h>

#include <array>
#include <cstdio>
#include <string>

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

inline log4cxx::spi::LocationInfo logLocation(const SourceLocation& where)
{
    return {where.file, log4cxx::spi::LocationInfo::calcShortFileName(where.file), where.function,
            static_cast<int>(where.line)};
}

} // namespace com::tallowcrest::util

#define KORABRIDGE_LOG(LOGGER, IS_ENABLED, LOG4CXX_MACRO, ...)                                                         \
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

#define LOG_DEBUG_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, isDebugEnabled, LOG4CXX_DEBUG, __VA_ARGS__)
#define LOG_INFO_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, isInfoEnabled, LOG4CXX_INFO, __VA_ARGS__)
#define LOG_WARN_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, isWarnEnabled, LOG4CXX_WARN, __VA_ARGS__)
#define LOG_ERROR_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, isErrorEnabled, LOG4CXX_ERROR, __VA_ARGS__)

/// The same with a location, for helpers that log what others have done or failed to do.
#define KORABRIDGE_LOG_AT(LOGGER, IS_ENABLED, GET_LEVEL, WHERE, ...)                                                   \
    do                                                                                                                 \
    {                                                                                                                  \
        const auto& korabridgeLogger = (LOGGER);                                                                       \
        if (korabridgeLogger != nullptr && korabridgeLogger->IS_ENABLED())                                             \
        {                                                                                                              \
            std::array<char, com::tallowcrest::util::logLineSize> korabridgeLine{};                                    \
            static_cast<void>(std::snprintf(korabridgeLine.data(), korabridgeLine.size(), __VA_ARGS__));               \
            korabridgeLogger->forcedLog(log4cxx::Level::GET_LEVEL(), std::string(korabridgeLine.data()),               \
                                        com::tallowcrest::util::logLocation(WHERE));                                   \
        }                                                                                                              \
    } while (false)

#define LOG_INFO_AT_F(LOGGER, WHERE, ...) KORABRIDGE_LOG_AT(LOGGER, isInfoEnabled, getInfo, WHERE, __VA_ARGS__)
#define LOG_WARN_AT_F(LOGGER, WHERE, ...) KORABRIDGE_LOG_AT(LOGGER, isWarnEnabled, getWarn, WHERE, __VA_ARGS__)
