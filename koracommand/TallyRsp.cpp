#include "koracommand/TallyRsp.h"

#include "koracommand/WireLayout.h"

namespace req = wireLayout::tallyReq;
namespace rsp = wireLayout::tallyRsp;

TallyRsp::TallyRsp(const WireReader& request, ConnectionContext& context) : Pooled(request, wireLayout::rspId::tally)
{
    const Range range{.level = request.hostWordAt(req::level),
                      .firstOutput = request.hostWordAt(req::firstOutput),
                      .count = context.limitCount(request.hostWordAt(wireLayout::header::msgId),
                                                  request.hostWordAt(req::count), rsp::maxEntries)};
    setLength(rsp::length(range.count));
    setWord(rsp::level, range.level);
    setWord(rsp::firstOutput, range.firstOutput);
    setWord(rsp::count, range.count);
    writeEntries(rsp::entries, range, EntryWords::ResultInput);
}
