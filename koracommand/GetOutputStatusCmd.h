#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks for the status of a range of outputs. Answered by `GetOutputStatusRsp`.
class GetOutputStatusCmd final : public com::tallowcrest::util::Pooled<GetOutputStatusCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "GetOutputStatusCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
