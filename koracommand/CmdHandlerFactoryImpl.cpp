#include "koracommand/CmdHandlerFactoryImpl.h"

#include "koracommand/CmdHandlerImpl.h"

CmdHandlerFactoryImpl::CmdHandlerFactoryImpl(const std::string& loggerName, WallClock clock)
    : m_logger(log4cxx::Logger::getLogger(loggerName)), m_clock(clock)
{}

std::unique_ptr<CmdHandler> CmdHandlerFactoryImpl::createCmdHandler(std::uint32_t connectionId)
{
    return std::make_unique<CmdHandlerImpl>(m_logger, connectionId, m_clock);
}
