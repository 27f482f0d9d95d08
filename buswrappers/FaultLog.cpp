#include "buswrappers/FaultLog.h"

#include "runtime/util/Log.h"

namespace com::tallowcrest::routing
{

FaultLog::FaultLog(util::FailureLog::Clock clock) : m_logger(util::bridgeLogger()), m_clock(std::move(clock)) {}

void FaultLog::warn(const std::string& topicName, dds::core::InstanceHandle writer, std::string_view fault,
                    const std::string& sample)
{
    Source source(writer.value(), fault);
    if (m_sources.size() >= mostSources && !m_sources.contains(source))
    {
        source.first = 0; // no writer's
    }
    auto& log = m_sources.try_emplace(source, m_logger, m_clock).first->second;
    const std::string cause(fault);
    log.warn({cause, util::formatText("%s sample ignored: %s: %s", topicName.c_str(), cause.c_str(), sample.c_str())});
}

} // namespace com::tallowcrest::routing
