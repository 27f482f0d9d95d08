#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

/// Describes the router's partitions: the same words for every request.
class PartitionInfoRsp final : public com::tallowcrest::util::Pooled<PartitionInfoRsp, RspBase>
{
public:
    static constexpr const char* poolName = "PartitionInfoRsp";

    explicit PartitionInfoRsp(const WireReader& request);
};
