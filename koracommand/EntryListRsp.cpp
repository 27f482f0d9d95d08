#include "koracommand/EntryListRsp.h"

#include "koracommand/LevelAccess.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"

#include <algorithm>

namespace
{

namespace req = wireLayout::entryListReq;

/// The whole entries that the request really holds.
std::uint32_t entriesHeld(const WireReader& request)
{
    const std::size_t bytes = std::max(request.size(), req::entries) - req::entries;
    return static_cast<std::uint32_t>(bytes / req::entryBytes);
}

std::uint32_t callLevel(const WireReader& request, std::size_t entry, EntryListRsp::LevelCall call, std::uint32_t when)
{
    const auto level = getLevelInstance(request.hostWordAt(entry + req::entryLevel));
    return ((*level).*call)(request.hostWordAt(entry + req::entryArgument1),
                            request.hostWordAt(entry + req::entryArgument2),
                            request.hostWordAt(entry + req::entryArgument3), when);
}

} // namespace

EntryListRsp::EntryListRsp(const WireReader& request, ConnectionContext& context, std::uint32_t rspId, LevelCall call,
                           const Layout& layout)
    : RspBase(request, rspId)
{
    const std::uint32_t when = com::tallowcrest::hwobjs::currentTimecode().word();
    const std::uint32_t count =
        context.limitCount(request.hostWordAt(wireLayout::header::msgId), request.hostWordAt(req::count),
                           std::min(entriesHeld(request), layout.maxEntries));
    setWord(layout.count, count);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const std::uint32_t result = callLevel(request, req::entries + i * req::entryBytes, call, when);
        m_allDone = m_allDone && result == resultCode::done;
        setWord(layout.results + i * wireLayout::wordBytes, result);
    }
    setLength(static_cast<std::uint32_t>(layout.results + count * wireLayout::wordBytes));
}
