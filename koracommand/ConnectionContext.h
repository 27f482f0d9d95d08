#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/Log.h"

#include <chrono>
#include <cstdint>
#include <utility>

/// Where the time of day comes from; tests put in a clock of their own.
using WallClock = std::chrono::system_clock::time_point (*)();

/// What all commands of one connection share besides their response queue. Thread-safe. Shared by the connection's
/// command handler and its commands.
class ConnectionContext
{
public:
    ConnectionContext(log4cxx::LoggerPtr logger, std::uint32_t connectionId, WallClock clock)
        : m_logger(std::move(logger)), m_connectionId(connectionId), m_clock(clock)
    {}

    const log4cxx::LoggerPtr& logger() const { return m_logger; }
    /// The connection's slot, 0 to 15.
    std::uint32_t connectionId() const { return m_connectionId; }
    std::chrono::system_clock::time_point now() const { return m_clock(); }

    /// The number of entries to handle when a request asks for `asked` and at most `limit` are possible. The first time
    /// on this connection that a count is cut, this is logged at INFO; later ones pass in silence.
    std::uint32_t limitCount(std::uint32_t msgId, std::uint32_t asked, std::uint32_t limit)
    {
        if (asked <= limit)
        {
            return asked;
        }
        if (m_cutCounts.allow())
        {
            LOG_INFO_F(m_logger, "Connection %u: request 0x%08x asks for %u entries, limited to %u", m_connectionId,
                       msgId, asked, limit);
        }
        return limit;
    }

private:
    log4cxx::LoggerPtr m_logger;
    std::uint32_t m_connectionId;
    WallClock m_clock;
    com::tallowcrest::util::LogLimit m_cutCounts = com::tallowcrest::util::LogLimit::once();
};
