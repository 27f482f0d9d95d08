#pragma once

#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <chrono>

/// Carries the system status words of the format asked for; the formats 2, 4 and 6 with the time of day. A format that
/// does not exist is reported on the console and answered as format 4.
class ReadySystemStatusRsp final : public com::tallowcrest::util::Pooled<ReadySystemStatusRsp, RspBase>
{
public:
    static constexpr const char* poolName = "ReadySystemStatusRsp";

    ReadySystemStatusRsp(const WireReader& request, std::chrono::system_clock::time_point now);
};
