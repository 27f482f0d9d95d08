#pragma once

#include "koracommand/CmdBase.h"
#include "koracommand/CmdHandler.h"
#include "koracommand/ConnectionContext.h"
#include "koracommand/RspQueue.h"
#include "runtime/util/Log.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>

namespace com::tallowcrest::apartment
{
class Apartment;
}

/// Runs one connection's commands on the bridge apartment, one at a time, and counts them by message id. `handle`
/// belongs to the connection's thread; `show` may be called from any thread. Owned by one connection. Never waits for
/// an apartment that is absent or stopped.
class CmdHandlerImpl final : public CmdHandler
{
public:
    CmdHandlerImpl(log4cxx::LoggerPtr logger, std::uint32_t connectionId, WallClock clock);

    std::unique_ptr<Rsp> handle(std::span<const std::uint8_t> message) override;
    void show() override;

private:
    /// A message id that was seen: how often, and its name.
    struct CmdInfo
    {
        std::uint32_t count = 0;
        std::string name;
    };
    using CmdMap = std::unordered_map<std::uint32_t, CmdInfo>;

    enum class LogCmd : bool
    {
        No,
        Yes
    };

    std::unique_ptr<Rsp> runCmd(std::span<const std::uint8_t> message);
    /// Counts the message and makes its command.
    std::unique_ptr<CmdBase> createCmd(std::span<const std::uint8_t> message);
    void addCmd(CmdMap& cmds, const char* label, std::uint32_t id, const char* name, LogCmd log);
    /// Null when the apartment stopped without an answer.
    std::unique_ptr<Rsp> waitForRsp(const com::tallowcrest::apartment::Apartment& apartment);
    void showCmds(const char* title, const CmdMap& cmds);

    /// Replaced after every command that got no response, so that a late one never answers a later request.
    std::shared_ptr<RspQueue> m_rspQueue;
    log4cxx::LoggerPtr m_logger;
    std::shared_ptr<ConnectionContext> m_context;
    CmdMap m_unhandledCmds;
    CmdMap m_processedCmds;
    /// Guards the two maps: the connection's thread counts while the console reads.
    std::mutex m_cmdsMutex;
};

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
