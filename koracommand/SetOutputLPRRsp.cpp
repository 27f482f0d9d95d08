#include "koracommand/SetOutputLPRRsp.h"

#include "koracommand/WireLayout.h"

namespace layout = wireLayout::setOutputLprRsp;

SetOutputLPRRsp::SetOutputLPRRsp(const WireReader& request, ConnectionContext& context)
    : Pooled(request, context, wireLayout::rspId::setOutputLpr, &ILevel::setOutputLPR,
             Layout{layout::count, layout::results, layout::maxEntries})
{
    setWord(layout::status, allDone() ? layout::statusDone : layout::statusFailed);
}
