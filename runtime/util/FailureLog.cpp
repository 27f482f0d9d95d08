#include "runtime/util/FailureLog.h"

#include "runtime/util/Log.h"

#include <utility>

namespace com::tallowcrest::util
{

Failure::Failure(std::string what, std::string line, SourceLocation here)
    : cause(std::move(what)), text(std::move(line)), where(here)
{}

FailureLog::FailureLog(log4cxx::LoggerPtr logger, Clock clock) : m_logger(std::move(logger)), m_clock(std::move(clock))
{}

void FailureLog::warn(const Failure& failure)
{
    const bool isRepeat = m_latest && m_latest->cause == failure.cause;
    if (!isRepeat)
    {
        succeeded(); // with what failed before
    }
    m_latest = failure;
    if (!m_limit.allow(m_clock()))
    {
        return;
    }
    if (isRepeat)
    {
        logRepeats(m_limit.takeHeldBack() + 1);
    }
    else
    {
        LOG_WARN_AT_F(m_logger, failure.where, "%s", failure.text.c_str());
    }
}

void FailureLog::succeeded()
{
    if (m_latest)
    {
        logRepeats(m_limit.takeHeldBack());
    }
    m_limit.clear();
    m_latest.reset();
}

void FailureLog::logRepeats(std::uint32_t count) const
{
    if (count > 0)
    {
        LOG_WARN_AT_F(m_logger, m_latest->where, "repeated %u times: %s", count, m_latest->text.c_str());
    }
}

} // namespace com::tallowcrest::util
