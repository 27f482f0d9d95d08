#include "koracommand/CmdHandlerImpl.h"

#include "koracommand/CmdTable.h"
#include "koracommand/RspBase.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/ThreadTurns.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <chrono>
#include <exception>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::Turns;

namespace
{

/// How often a waiting connection looks whether the apartment still runs.
constexpr auto apartmentCheckInterval = 100ms;
/// What a command that was running when the apartment stopped gets to finish.
constexpr auto stopGrace = 500ms;

/// Different ids that one list counts: a peer that sends noise must not fill the memory. Later ones are logged only.
constexpr std::size_t maxListedIds = 4096;

} // namespace

CmdHandlerImpl::CmdHandlerImpl(log4cxx::LoggerPtr logger, std::uint32_t connectionId, WallClock clock)
    : m_rspQueue(std::make_shared<RspQueue>()), m_logger(std::move(logger)),
      m_context(std::make_shared<ConnectionContext>(m_logger, connectionId, clock))
{}

std::unique_ptr<Rsp> CmdHandlerImpl::handle(std::span<const std::uint8_t> message)
{
    try
    {
        if (auto rsp = runCmd(message))
        {
            return rsp;
        }
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(m_logger, "Request not handled: %s", error.what());
    }
    m_rspQueue.reset();
    return nullptr;
}

std::unique_ptr<Rsp> CmdHandlerImpl::runCmd(std::span<const std::uint8_t> message)
{
    if (m_rspQueue == nullptr)
    {
        m_rspQueue = std::make_shared<RspQueue>();
    }
    auto cmd = createCmd(message);
    const auto apartment = com::tallowcrest::apartment::bridgeApartment();
    if (apartment == nullptr || !apartment->isRunning())
    {
        return nullptr;
    }
    // The calling thread is the connection's own. An answer is quickly sent, but not in the middle of a crowd's round.
    takeTurns(apartment->isCrowded() ? Turns::Patient : Turns::Short);
    com::tallowcrest::apartment::post(*apartment, std::move(cmd));
    const auto rsp = waitForRsp(*apartment);
    return rsp != nullptr ? std::make_unique<RspInNetworkOrder>(*rsp) : nullptr;
}

std::unique_ptr<CmdBase> CmdHandlerImpl::createCmd(std::span<const std::uint8_t> message)
{
    const std::uint32_t id = WireReader(message).bigEndianWordAt(wireLayout::header::msgId);
    const CmdTableEntry* const known = findCmd(id);
    countRequest(known);
    if (known != nullptr)
    {
        addCmd(m_processedCmds, "Processed Cmd", id, known->name, LogCmd::No);
        return known->create(message, m_rspQueue, m_context);
    }
    addCmd(m_unhandledCmds, "Unprocessed Cmd", id, "Unexpected Msg", LogCmd::Yes);
    return std::make_unique<CmdBase>(message, m_rspQueue, m_context);
}

void CmdHandlerImpl::addCmd(CmdMap& cmds, const char* label, std::uint32_t id, const char* name, LogCmd log)
{
    if (log == LogCmd::Yes)
    {
        LOG_INFO_F(m_logger, "%s: 0x%08x %s", label, id, name);
    }
    const std::lock_guard lock(m_cmdsMutex);
    if (const auto found = cmds.find(id); found != cmds.end())
    {
        ++found->second.count;
    }
    else if (cmds.size() < maxListedIds)
    {
        cmds.emplace(id, CmdInfo{1, name});
    }
}

std::unique_ptr<Rsp> CmdHandlerImpl::waitForRsp(const Apartment& apartment)
{
    while (apartment.isRunning())
    {
        if (auto rsp = m_rspQueue->popWithin(apartmentCheckInterval))
        {
            return std::move(*rsp);
        }
    }
    auto lastRsp = m_rspQueue->popWithin(stopGrace);
    return lastRsp ? std::move(*lastRsp) : nullptr;
}

void CmdHandlerImpl::show()
{
    showCmds("----- Unhandled Cmds -----", m_unhandledCmds);
    showCmds("----- Processed Cmds -----", m_processedCmds);
}

void CmdHandlerImpl::showCmds(const char* title, const CmdMap& cmds)
{
    // Printing may have to wait for a slow console; the connection must not wait with it.
    std::vector<std::pair<std::uint32_t, CmdInfo>> rows;
    {
        const std::lock_guard lock(m_cmdsMutex);
        rows.assign(cmds.begin(), cmds.end());
    }
    com::tallowcrest::misc::print("%s\n", title);
    for (const auto& [id, info] : rows)
    {
        com::tallowcrest::misc::print("               %8d 0x%08x %s\n", static_cast<int>(info.count), id,
                                      info.name.c_str());
    }
}

CmdHandlerFactoryImpl::CmdHandlerFactoryImpl(const std::string& loggerName, WallClock clock)
    : m_logger(log4cxx::Logger::getLogger(loggerName)), m_clock(clock)
{}

std::unique_ptr<CmdHandler> CmdHandlerFactoryImpl::createCmdHandler(std::uint32_t connectionId)
{
    return std::make_unique<CmdHandlerImpl>(m_logger, connectionId, m_clock);
}
