#include "koracommand/CmdTable.h"

#include "koracommand/FixedCommands.h"
#include "koracommand/ListCommands.h"
#include "koracommand/QueryCommands.h"
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

constexpr std::array entries{
    CmdTableEntry{msgId::take, "ermcTake", &create<TakeCmd>},
    CmdTableEntry{msgId::setOutputLpr, "ermcSetOutputLPR", &create<SetOutputLPRCmd>},
    CmdTableEntry{msgId::getOutputStatus, "ermcGetOutputStatus", &create<GetOutputStatusCmd>},
    CmdTableEntry{msgId::getOutputChanges, "ermcGetOutputChanges", &create<GetOutputChangesCmd>},
    CmdTableEntry{msgId::coherentTake, "ermcCoherentTake", &create<CoherentTakeCmd>},
    CmdTableEntry{msgId::partitionInfo, "ermcRtrPartionInfo", &create<PartitionInfoCmd>},
    CmdTableEntry{msgId::tally, "ermcTally", &create<TallyCmd>},
    CmdTableEntry{msgId::ccPresence, "ermcGetCcPrsnt", &create<CcPresenceCmd>},
    CmdTableEntry{msgId::routerPortPresent, "ermcPortPresent", &create<RouterPortPresentCmd>},
    CmdTableEntry{msgId::readySystemStatus, "ncmReadSystemStatusCmd", &create<ReadySystemStatusCmd>},
};

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
