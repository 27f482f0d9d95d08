#pragma once

#include <cstdint>
#include <string_view>

namespace dds::core
{

/// One line that the DDS library has to say about itself, without its own time and thread. Good for the time of a call.
struct LogLine
{
    enum class Severity
    {
        fatal, ///< the process ends when the call returns
        error,
        warning,
        info
    };

    Severity severity = Severity::info;
    std::string_view text;
    const char* file = nullptr;
    const char* function = nullptr;
    std::uint32_t line = 0;
};

/// Called on any thread, also on several at a time, for as long as the process lives. It must not wait.
using LogSink = void (*)(const LogLine& line) noexcept;

/// Who is told instead of standard error, from the moment that this returns; null: standard error again. Any thread.
void log_sink(LogSink sink);

} // namespace dds::core
