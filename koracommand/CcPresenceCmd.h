#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks whether a control card is present. Answered by `CcPresenceRsp`.
class CcPresenceCmd final : public com::tallowcrest::util::Pooled<CcPresenceCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "CcPresenceCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
