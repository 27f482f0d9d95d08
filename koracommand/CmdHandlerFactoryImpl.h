#pragma once

#include "koracommand/CmdHandler.h"
#include "koracommand/ConnectionContext.h"
#include "runtime/util/Log.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

/// Makes the command handler of each connection. Thread-safe.
class CmdHandlerFactoryImpl final : public CmdHandlerFactory
{
public:
    /// `clock` tells the time in the system status answers.
    explicit CmdHandlerFactoryImpl(const std::string& loggerName, WallClock clock = &std::chrono::system_clock::now);

    std::unique_ptr<CmdHandler> createCmdHandler(std::uint32_t connectionId) override;

private:
    log4cxx::LoggerPtr m_logger;
    WallClock m_clock;
};
