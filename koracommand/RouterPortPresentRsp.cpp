#include "koracommand/RouterPortPresentRsp.h"

#include "koracommand/WireLayout.h"

namespace layout = wireLayout::routerPortPresentRsp;

RouterPortPresentRsp::RouterPortPresentRsp(const WireReader& request)
    : Pooled(request, wireLayout::rspId::routerPortPresent)
{
    setWord(layout::result, 0);
    setLength(layout::length);
}
