#include "runtime/util/FailureLog.h"

#include "runtime/util/Log.h"

#include <utility>

namespace com::tallowcrest::util
{

bool LogLimit::allow(Clock::time_point now)
{
    const std::lock_guard lock(m_mutex);
    if (m_written == 0 || now - m_begin >= m_interval)
    {
        m_begin = now;
        m_written = 0;
    }
    if (m_written < m_burst)
    {
        ++m_written;
        return true;
    }
    ++m_heldBack;
    return false;
}

void LogLimit::clear()
{
    const std::lock_guard lock(m_mutex);
    m_written = 0;
    m_heldBack = 0;
}

std::uint32_t LogLimit::takeHeldBack()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_heldBack, 0);
}

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
