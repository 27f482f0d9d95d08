#include "koracommand/GetOutputStatusRsp.h"

#include "koracommand/WireLayout.h"

namespace req = wireLayout::getOutputStatusReq;
namespace rsp = wireLayout::getOutputStatusRsp;

GetOutputStatusRsp::GetOutputStatusRsp(const WireReader& request, ConnectionContext& context)
    : Pooled(request, wireLayout::rspId::getOutputStatus)
{
    const std::uint32_t format = request.hostWordAt(req::format);
    const Range range{.level = request.hostWordAt(req::level),
                      .firstOutput = request.hostWordAt(req::firstOutput),
                      .count = context.limitCount(request.hostWordAt(wireLayout::header::msgId),
                                                  request.hostWordAt(req::count), rsp::maxEntries(format))};
    setLength(rsp::length(format, range.count));
    setWord(rsp::format, format);
    setWord(rsp::level, range.level);
    setWord(rsp::firstOutput, range.firstOutput);
    setWord(rsp::count, range.count);
    writeEntries(rsp::entries, range,
                 format == rsp::shortFormat ? EntryWords::ResultInput : EntryWords::ResultInputLprStateLprId);
}
