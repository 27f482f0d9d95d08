#include "koracommand/CmdTable.h"

#include "koracommand/CcPresenceCmd.h"
#include "koracommand/CoherentTakeCmd.h"
#include "koracommand/GetOutputChangesCmd.h"
#include "koracommand/GetOutputStatusCmd.h"
#include "koracommand/PartitionInfoCmd.h"
#include "koracommand/ReadySystemStatusCmd.h"
#include "koracommand/RouterPortPresentCmd.h"
#include "koracommand/SetOutputLPRCmd.h"
#include "koracommand/TakeCmd.h"
#include "koracommand/TallyCmd.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

namespace msgId = wireLayout::msgId;

template <typename Cmd>
std::unique_ptr<CmdBase> create(std::span<const std::uint8_t> message, std::shared_ptr<RspQueue> rspQueue,
                                std::shared_ptr<ConnectionContext> context)
{
    return std::make_unique<Cmd>(message, std::move(rspQueue), std::move(context));
}

constexpr std::array<CmdTableEntry, 10> entries{{
    {msgId::take, "ermcTake", &create<TakeCmd>},
    {msgId::setOutputLpr, "ermcSetOutputLPR", &create<SetOutputLPRCmd>},
    {msgId::getOutputStatus, "ermcGetOutputStatus", &create<GetOutputStatusCmd>},
    {msgId::getOutputChanges, "ermcGetOutputChanges", &create<GetOutputChangesCmd>},
    {msgId::coherentTake, "ermcCoherentTake", &create<CoherentTakeCmd>},
    {msgId::partitionInfo, "ermcRtrPartionInfo", &create<PartitionInfoCmd>},
    {msgId::tally, "ermcTally", &create<TallyCmd>},
    {msgId::ccPresence, "ermcGetCcPrsnt", &create<CcPresenceCmd>},
    {msgId::routerPortPresent, "ermcPortPresent", &create<RouterPortPresentCmd>},
    {msgId::readySystemStatus, "ncmReadSystemStatusCmd", &create<ReadySystemStatusCmd>},
}};

} // namespace

std::span<const CmdTableEntry> cmdTable()
{
    return entries;
}

const CmdTableEntry* findCmd(std::uint32_t id)
{
    const auto* const found =
        std::find_if(entries.begin(), entries.end(), [id](const CmdTableEntry& entry) { return entry.msgId == id; });
    return found != entries.end() ? found : nullptr;
}
