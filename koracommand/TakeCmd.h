#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Routes inputs to outputs, one take after the other. Answered by `TakeRsp`.
class TakeCmd final : public com::tallowcrest::util::Pooled<TakeCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "TakeCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
