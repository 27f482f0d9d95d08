#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks how the router is partitioned. Answered by `PartitionInfoRsp`.
class PartitionInfoCmd final : public com::tallowcrest::util::Pooled<PartitionInfoCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "PartitionInfoCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
