#include "koracommand/ConnectionContext.h"

#include <utility>

ConnectionContext::ConnectionContext(log4cxx::LoggerPtr logger, std::uint32_t connectionId, WallClock clock)
    : m_logger(std::move(logger)), m_connectionId(connectionId), m_clock(clock)
{}

std::uint32_t ConnectionContext::limitCount(std::uint32_t msgId, std::uint32_t asked, std::uint32_t limit)
{
    if (asked <= limit)
    {
        return asked;
    }
    if (!m_limitLogged.exchange(true))
    {
        LOG_INFO_F(m_logger, "Connection %u: request 0x%08x asks for %u entries, limited to %u", m_connectionId, msgId,
                   asked, limit);
    }
    return limit;
}
