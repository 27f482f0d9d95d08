#pragma once

#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <optional>

namespace com::tallowcrest::misc
{

/// The listening socket of the telnet console. Owned by one thread. Every failure is logged and leaves it closed.
class TelnetListener
{
public:
    struct Accepted
    {
        util::UniqueFd socket;     ///< non-blocking
        std::uint32_t address = 0; ///< IPv4, in network order
    };

    TelnetListener(log4cxx::LoggerPtr logger, std::uint16_t port);

    /// Opens the port on all local addresses. With `logFailures` false only success is logged.
    bool open(bool logFailures);
    void close() { m_socket.reset(); }
    bool isOpen() const { return m_socket.isOpen(); }
    int fd() const { return m_socket.get(); }

    /// A waiting client; nothing when there is none or the system refuses (`errno`). Never waits.
    std::optional<Accepted> accept() const;

private:
    const log4cxx::LoggerPtr m_logger;
    const std::uint16_t m_port;
    util::UniqueFd m_socket;
};

} // namespace com::tallowcrest::misc
