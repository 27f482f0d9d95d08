#include "runtime/util/FailureLog.h"

#include "runtime/util/Log.h"

#include <utility>

namespace com::tallowcrest::util
{

FailureLog::FailureLog(log4cxx::LoggerPtr logger, Clock clock) : m_logger(std::move(logger)), m_clock(std::move(clock))
{}

void FailureLog::warn(const Failure& failure)
{
    const auto now = m_clock();
    if (failure.cause != m_latest.cause)
    {
        logRepeats();
        m_latest = failure;
        m_loggedAt = now;
        LOG_WARN_F(m_logger, "%s", failure.text.c_str());
        return;
    }
    m_latest.text = failure.text;
    ++m_repeats;
    if (now - m_loggedAt >= interval)
    {
        m_loggedAt = now;
        logRepeats();
    }
}

void FailureLog::succeeded()
{
    logRepeats();
    m_latest = {};
}

void FailureLog::logRepeats()
{
    if (m_repeats > 0)
    {
        LOG_WARN_F(m_logger, "repeated %u times: %s", m_repeats, m_latest.text.c_str());
        m_repeats = 0;
    }
}

} // namespace com::tallowcrest::util
