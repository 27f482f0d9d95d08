#pragma once

#include "koracommand/CmdHandler.h"
#include "koraserver/Connection.h"
#include "runtime/misc/TimingSamples.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <memory>
#include <string>

/// Makes and starts a `ConnectionImpl` with a command handler of its own for each accepted socket. Used by the server's
/// thread; the Director and the server share it.
class ConnectionFactoryImpl final : public ConnectionFactory
{
public:
    ConnectionFactoryImpl(const std::string& loggerName, std::shared_ptr<CmdHandlerFactory> cmdHandlerFactory);

    // ConnectionFactory
    std::shared_ptr<Connection> createConnection(int socket, std::uint16_t clientPort, std::uint32_t connectionId,
                                                 std::uint32_t clientAddress) override;

private:
    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<CmdHandlerFactory> m_cmdHandlerFactory;
    com::tallowcrest::misc::TimingSamples& m_timingSamples;
};
