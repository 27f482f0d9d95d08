#include "koracommand/CmdTable.h"

#include "koracommand/FixedCommands.h"
#include "koracommand/ListCommands.h"
#include "koracommand/QueryCommands.h"
#include "koracommand/WireLayout.h"
#include "runtime/util/Metrics.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

using com::tallowcrest::util::Counter;

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
    CmdTableEntry{msgId::take, "ermcTake", R"(request="take")", &create<TakeCmd>},
    CmdTableEntry{msgId::setOutputLpr, "ermcSetOutputLPR", R"(request="lock")", &create<SetOutputLPRCmd>},
    CmdTableEntry{msgId::getOutputStatus, "ermcGetOutputStatus", R"(request="status")", &create<GetOutputStatusCmd>},
    CmdTableEntry{msgId::getOutputChanges, "ermcGetOutputChanges", R"(request="changes")",
                  &create<GetOutputChangesCmd>},
    CmdTableEntry{msgId::coherentTake, "ermcCoherentTake", R"(request="coherent_take")", &create<CoherentTakeCmd>},
    CmdTableEntry{msgId::partitionInfo, "ermcRtrPartionInfo", R"(request="partition_info")", &create<PartitionInfoCmd>},
    CmdTableEntry{msgId::tally, "ermcTally", R"(request="tally")", &create<TallyCmd>},
    CmdTableEntry{msgId::ccPresence, "ermcGetCcPrsnt", R"(request="card_presence")", &create<CcPresenceCmd>},
    CmdTableEntry{msgId::routerPortPresent, "ermcPortPresent", R"(request="port_presence")",
                  &create<RouterPortPresentCmd>},
    CmdTableEntry{msgId::readySystemStatus, "ncmReadSystemStatusCmd", R"(request="system_status")",
                  &create<ReadySystemStatusCmd>},
};

constexpr std::string_view requestsName = "korabridge_requests_total";
constexpr std::string_view requestsHelp = "Requests of controllers, by what they ask for.";

template <std::size_t... I>
std::array<Counter, sizeof...(I)> requestCounters(std::index_sequence<I...>)
{
    return {Counter(requestsName, requestsHelp, entries[I].label)...};
}

std::array<Counter, entries.size()> requests = requestCounters(std::make_index_sequence<entries.size()>{});
Counter unknownRequests(requestsName, requestsHelp, R"(request="unknown")");

} // namespace

void countRequest(const CmdTableEntry* entry)
{
    (entry != nullptr ? requests[static_cast<std::size_t>(entry - entries.data())] : unknownRequests).add();
}

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
