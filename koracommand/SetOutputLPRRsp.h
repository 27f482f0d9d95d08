#pragma once

#include "koracommand/EntryListRsp.h"
#include "runtime/util/Pooled.h"

/// Locks, protects or releases each output of a list; carries the results and a status word that tells whether all of
/// them were done. Built on the bridge apartment.
class SetOutputLPRRsp final : public com::tallowcrest::util::Pooled<SetOutputLPRRsp, EntryListRsp>
{
public:
    static constexpr const char* poolName = "SetOutputLPRRsp";

    SetOutputLPRRsp(const WireReader& request, ConnectionContext& context);
};
