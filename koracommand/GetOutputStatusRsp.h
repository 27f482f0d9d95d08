#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/OutputRangeRsp.h"
#include "runtime/util/Pooled.h"

/// Carries the status of each output of a range: with format 1 the result and the input, with any other also the lock
/// state and its holder. Built on the bridge apartment.
class GetOutputStatusRsp final : public com::tallowcrest::util::Pooled<GetOutputStatusRsp, OutputRangeRsp>
{
public:
    static constexpr const char* poolName = "GetOutputStatusRsp";

    GetOutputStatusRsp(const WireReader& request, ConnectionContext& context);
};
