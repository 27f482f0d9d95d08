#include "runtime/util/LogLimit.h"

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

} // namespace com::tallowcrest::util
