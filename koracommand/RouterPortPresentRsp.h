#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

/// Confirms the router port: one word, always 0.
class RouterPortPresentRsp final : public com::tallowcrest::util::Pooled<RouterPortPresentRsp, RspBase>
{
public:
    static constexpr const char* poolName = "RouterPortPresentRsp";

    explicit RouterPortPresentRsp(const WireReader& request);
};
