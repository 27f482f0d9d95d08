#pragma once

#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/location/locationinfo.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

/// printf-style log lines. A line is formatted into a 200-byte buffer (longer text is cut), then handed to log4cxx with
/// the source location. Nothing is formatted while the level is switched off or the logger pointer is null.
/// Macros, because the source location must be the caller's.
namespace com::tallowcrest::util
{

inline constexpr std::size_t logLineSize = 200;

/// Where a call stands in the source, as a default argument of the function that is called. What std::source_location
/// is; Debian 12's clang, which lints and fuzzes, does not have that.
struct SourceLocation
{
    const char* file;
    const char* function;
    std::uint_least32_t line;

    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            const char* function = __builtin_FUNCTION(),
                                            std::uint_least32_t line = __builtin_LINE())
    {
        return {file, function, line};
    }
};

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

/// printf-style text of at most 199 characters, the size of a log line; longer text is cut.
[[gnu::format(printf, 1, 2)]] std::string formatText(const char* format, ...);

/// Writes a log line that could not be logged, and why, to standard error. Needs no memory.
__attribute__((format(printf, 2, 3))) void printUnlogged(const char* reason, const char* format, ...) noexcept;

} // namespace com::tallowcrest::util

#define KORABRIDGE_LOG(LOGGER, LEVEL, LOCATION, ...)                                                                   \
    do                                                                                                                 \
    {                                                                                                                  \
        const auto& korabridgeLogger = (LOGGER);                                                                       \
        if (korabridgeLogger != nullptr && korabridgeLogger->is##LEVEL##Enabled())                                     \
        {                                                                                                              \
            std::array<char, com::tallowcrest::util::logLineSize> korabridgeLine{};                                    \
            static_cast<void>(std::snprintf(korabridgeLine.data(), korabridgeLine.size(), __VA_ARGS__));               \
            korabridgeLogger->forcedLog(log4cxx::Level::get##LEVEL(), std::string(korabridgeLine.data()), LOCATION);   \
        }                                                                                                              \
    } while (false)

#define LOG_INFO_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, Info, LOG4CXX_LOCATION, __VA_ARGS__)
#define LOG_WARN_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, Warn, LOG4CXX_LOCATION, __VA_ARGS__)
#define LOG_ERROR_F(LOGGER, ...) KORABRIDGE_LOG(LOGGER, Error, LOG4CXX_LOCATION, __VA_ARGS__)

/// The same with a location, for helpers that log what others have done or failed to do.
#define LOG_INFO_AT_F(LOGGER, WHERE, ...)                                                                              \
    KORABRIDGE_LOG(LOGGER, Info, com::tallowcrest::util::logLocation(WHERE), __VA_ARGS__)
#define LOG_WARN_AT_F(LOGGER, WHERE, ...)                                                                              \
    KORABRIDGE_LOG(LOGGER, Warn, com::tallowcrest::util::logLocation(WHERE), __VA_ARGS__)

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
