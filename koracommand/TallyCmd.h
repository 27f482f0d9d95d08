#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks which inputs a range of outputs shows. Answered by `TallyRsp`.
class TallyCmd final : public com::tallowcrest::util::Pooled<TallyCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "TallyCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
