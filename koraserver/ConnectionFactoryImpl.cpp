#include "koraserver/ConnectionFactoryImpl.h"

#include "koraserver/ConnectionImpl.h"

#include <utility>

ConnectionFactoryImpl::ConnectionFactoryImpl(const std::string& loggerName,
                                             std::shared_ptr<CmdHandlerFactory> cmdHandlerFactory)
    : m_logger(log4cxx::Logger::getLogger(loggerName)), m_cmdHandlerFactory(std::move(cmdHandlerFactory)),
      m_timingSamples(com::tallowcrest::misc::timingSamples())
{}

std::shared_ptr<Connection> ConnectionFactoryImpl::createConnection(int socket, std::uint16_t clientPort,
                                                                    std::uint32_t connectionId,
                                                                    std::uint32_t clientAddress)
{
    auto connection =
        std::make_shared<ConnectionImpl>(m_logger, socket, clientPort, connectionId, clientAddress,
                                         m_cmdHandlerFactory->createCmdHandler(connectionId), m_timingSamples);
    connection->start();
    return connection;
}
