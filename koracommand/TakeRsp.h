#pragma once

#include "koracommand/TakeRspBase.h"
#include "runtime/util/Pooled.h"

/// Carries the result of each take of a list.
class TakeRsp final : public com::tallowcrest::util::Pooled<TakeRsp, TakeRspBase>
{
public:
    static constexpr const char* poolName = "TakeRsp";
    using Pooled::Pooled;
};
