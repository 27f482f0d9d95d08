#include "dds/core/LogSink.hpp"

#include <dds/ddsrt/log.h>

#include <atomic>

namespace dds::core
{

namespace
{

std::atomic<LogSink> currentSink{nullptr};

LogLine::Severity severityOf(std::uint32_t priority)
{
    if ((priority & DDS_LC_FATAL) != 0)
    {
        return LogLine::Severity::fatal;
    }
    if ((priority & DDS_LC_ERROR) != 0)
    {
        return LogLine::Severity::error;
    }
    return (priority & DDS_LC_WARNING) != 0 ? LogLine::Severity::warning : LogLine::Severity::info;
}

void forward(void* /*context*/, const dds_log_data_t* line) noexcept
{
    if (const LogSink sink = currentSink)
    {
        sink({.severity = severityOf(line->priority),
              .text = {line->message, line->size}, // its own time and thread stand before it
              .file = line->file,
              .function = line->function,
              .line = line->line});
    }
}

} // namespace

void log_sink(LogSink sink)
{
    currentSink = sink;
    dds_set_log_sink(sink == nullptr ? nullptr : forward, nullptr);
}

} // namespace dds::core
