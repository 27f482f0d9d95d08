#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

/// Says of whatever control card is asked for that it is present.
class CcPresenceRsp final : public com::tallowcrest::util::Pooled<CcPresenceRsp, RspBase>
{
public:
    static constexpr const char* poolName = "CcPresenceRsp";

    explicit CcPresenceRsp(const WireReader& request);
};
