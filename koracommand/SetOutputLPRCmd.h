#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Locks, protects or releases outputs. Answered by `SetOutputLPRRsp`.
class SetOutputLPRCmd final : public com::tallowcrest::util::Pooled<SetOutputLPRCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "SetOutputLPRCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
