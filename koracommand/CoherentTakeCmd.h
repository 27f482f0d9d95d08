#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Routes inputs to outputs that belong together; carried out as a take is. Answered by `CoherentTakeRsp`.
class CoherentTakeCmd final : public com::tallowcrest::util::Pooled<CoherentTakeCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "CoherentTakeCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
