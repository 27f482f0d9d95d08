#pragma once

#include "koracommand/CmdBase.h"
#include "runtime/util/Pooled.h"

#include <memory>

/// Asks for the system status in one of several formats. Answered by `ReadySystemStatusRsp`.
class ReadySystemStatusCmd final : public com::tallowcrest::util::Pooled<ReadySystemStatusCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "ReadySystemStatusCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
