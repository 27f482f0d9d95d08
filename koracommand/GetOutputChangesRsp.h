#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <cstdint>

/// Carries the outputs of a level that changed for one connection since it last asked, as many as the format's limit
/// allows, and whether to ask again. Built on the bridge apartment; what it carries counts as reported.
class GetOutputChangesRsp final : public com::tallowcrest::util::Pooled<GetOutputChangesRsp, RspBase>
{
public:
    static constexpr const char* poolName = "GetOutputChangesRsp";

    GetOutputChangesRsp(const WireReader& request, std::uint32_t connectionId);

private:
    /// Writes the entries; returns how many.
    std::uint32_t writeEntries(std::uint32_t levelNumber, std::uint32_t format, std::uint32_t connectionId);
};
