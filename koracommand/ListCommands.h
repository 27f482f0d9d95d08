#pragma once

#include "koracommand/CmdBase.h"
#include "koracommand/ConnectionContext.h"
#include "koracommand/ILevel.h"
#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// The commands that carry out a list, each with its response.

/// What take, coherent take and set output LPR have in common: one level call for each entry of the request, strictly
/// in order, all with the same timecode; a refused entry does not stop the others. Built on the bridge apartment.
class EntryListRsp : public RspBase
{
public:
    /// The level operation to call: three arguments from the entry, then the timecode.
    using LevelCall = std::uint32_t (ILevel::*)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t);

    /// Where the response keeps its count and its results, and how many of these fit.
    struct Layout
    {
        std::size_t count;
        std::size_t results;
        std::uint32_t maxEntries;
    };

    EntryListRsp(const WireReader& request, ConnectionContext& context, std::uint32_t rspId, LevelCall call,
                 const Layout& layout);

protected:
    /// Whether every entry's result was 0.
    bool allDone() const { return m_allDone; }

private:
    bool m_allDone = true;
};

/// The response of both takes: they differ in nothing that the controller sees, not even in the response id.
class TakeRspBase : public EntryListRsp
{
public:
    TakeRspBase(const WireReader& request, ConnectionContext& context);
};

/// Carries the result of each take of a list.
class TakeRsp final : public com::tallowcrest::util::Pooled<TakeRsp, TakeRspBase>
{
public:
    static constexpr const char* poolName = "TakeRsp";
    using Pooled::Pooled;
};

/// Routes inputs to outputs, one take after the other. Answered by `TakeRsp`.
class TakeCmd final : public com::tallowcrest::util::Pooled<TakeCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "TakeCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Carries the result of each take of a list that was asked for as a coherent take; its id is the take's.
class CoherentTakeRsp final : public com::tallowcrest::util::Pooled<CoherentTakeRsp, TakeRspBase>
{
public:
    static constexpr const char* poolName = "CoherentTakeRsp";
    using Pooled::Pooled;
};

/// Routes inputs to outputs that belong together; carried out as a take is. Answered by `CoherentTakeRsp`.
class CoherentTakeCmd final : public com::tallowcrest::util::Pooled<CoherentTakeCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "CoherentTakeCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Locks, protects or releases each output of a list; carries the results and a status word that tells whether all of
/// them were done. Built on the bridge apartment.
class SetOutputLPRRsp final : public com::tallowcrest::util::Pooled<SetOutputLPRRsp, EntryListRsp>
{
public:
    static constexpr const char* poolName = "SetOutputLPRRsp";

    SetOutputLPRRsp(const WireReader& request, ConnectionContext& context);
};

/// Locks, protects or releases outputs. Answered by `SetOutputLPRRsp`.
class SetOutputLPRCmd final : public com::tallowcrest::util::Pooled<SetOutputLPRCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "SetOutputLPRCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
