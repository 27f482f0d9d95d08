#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/OutputRangeRsp.h"
#include "runtime/util/Pooled.h"

/// Carries the result and the input of each output of a range. Built on the bridge apartment.
class TallyRsp final : public com::tallowcrest::util::Pooled<TallyRsp, OutputRangeRsp>
{
public:
    static constexpr const char* poolName = "TallyRsp";

    TallyRsp(const WireReader& request, ConnectionContext& context);
};
