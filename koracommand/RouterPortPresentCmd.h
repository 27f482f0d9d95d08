#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks whether the router port is present. Answered by `RouterPortPresentRsp`.
class RouterPortPresentCmd final : public com::tallowcrest::util::Pooled<RouterPortPresentCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "RouterPortPresentCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
