#pragma once

#include "koracommand/TakeRspBase.h"
#include "runtime/util/Pooled.h"

/// Carries the result of each take of a list that was asked for as a coherent take; its id is the take's.
class CoherentTakeRsp final : public com::tallowcrest::util::Pooled<CoherentTakeRsp, TakeRspBase>
{
public:
    static constexpr const char* poolName = "CoherentTakeRsp";
    using Pooled::Pooled;
};
