#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <cstdint>

/// Answers a request that no command handles, or whose command failed. The id says error; the request's id is not kept.
class ErrorRsp final : public com::tallowcrest::util::Pooled<ErrorRsp, RspBase>
{
public:
    static constexpr const char* poolName = "ErrorRsp";

    ErrorRsp(const WireReader& request, std::uint32_t errorCode);
};
