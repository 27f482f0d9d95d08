#include "koracommand/CcPresenceRsp.h"

#include "koracommand/WireLayout.h"

namespace layout = wireLayout::ccPresenceRsp;

CcPresenceRsp::CcPresenceRsp(const WireReader& request) : Pooled(request, wireLayout::rspId::ccPresence)
{
    setWord(layout::card, request.hostWordAt(wireLayout::ccPresenceReq::card));
    setWord(layout::reserved1, 0);
    setWord(layout::present, 1);
    setWord(layout::reserved2, 0);
    setWord(layout::reserved3, 0);
    setLength(layout::length);
}
