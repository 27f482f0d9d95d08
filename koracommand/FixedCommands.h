#pragma once

#include "koracommand/CmdBase.h"
#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <chrono>
#include <memory>

// The commands that no level is asked for, each with its response.

/// Describes the router's partitions: the same words for every request.
class PartitionInfoRsp final : public com::tallowcrest::util::Pooled<PartitionInfoRsp, RspBase>
{
public:
    static constexpr const char* poolName = "PartitionInfoRsp";

    explicit PartitionInfoRsp(const WireReader& request);
};

/// Asks how the router is partitioned. Answered by `PartitionInfoRsp`.
class PartitionInfoCmd final : public com::tallowcrest::util::Pooled<PartitionInfoCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "PartitionInfoCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Confirms the router port: one word, always 0.
class RouterPortPresentRsp final : public com::tallowcrest::util::Pooled<RouterPortPresentRsp, RspBase>
{
public:
    static constexpr const char* poolName = "RouterPortPresentRsp";

    explicit RouterPortPresentRsp(const WireReader& request);
};

/// Asks whether the router port is present. Answered by `RouterPortPresentRsp`.
class RouterPortPresentCmd final : public com::tallowcrest::util::Pooled<RouterPortPresentCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "RouterPortPresentCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Says of whatever control card is asked for that it is present.
class CcPresenceRsp final : public com::tallowcrest::util::Pooled<CcPresenceRsp, RspBase>
{
public:
    static constexpr const char* poolName = "CcPresenceRsp";

    explicit CcPresenceRsp(const WireReader& request);
};

/// Asks whether a control card is present. Answered by `CcPresenceRsp`.
class CcPresenceCmd final : public com::tallowcrest::util::Pooled<CcPresenceCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "CcPresenceCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Carries the system status words of the format asked for; the formats 2, 4 and 6 with the time of day. A format that
/// does not exist is reported on the console and answered as format 4.
class ReadySystemStatusRsp final : public com::tallowcrest::util::Pooled<ReadySystemStatusRsp, RspBase>
{
public:
    static constexpr const char* poolName = "ReadySystemStatusRsp";

    ReadySystemStatusRsp(const WireReader& request, std::chrono::system_clock::time_point now);
};

/// Asks for the system status in one of several formats. Answered by `ReadySystemStatusRsp`.
class ReadySystemStatusCmd final : public com::tallowcrest::util::Pooled<ReadySystemStatusCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "ReadySystemStatusCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
