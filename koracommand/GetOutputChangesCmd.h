#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks which outputs changed since this connection last asked. Answered by `GetOutputChangesRsp`.
class GetOutputChangesCmd final : public com::tallowcrest::util::Pooled<GetOutputChangesCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "GetOutputChangesCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
