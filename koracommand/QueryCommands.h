#pragma once

#include "koracommand/CmdBase.h"
#include "koracommand/ConnectionContext.h"
#include "koracommand/RspBase.h"
#include "runtime/util/Pooled.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// The commands that ask for the status of outputs, each with its response.

/// What tally and get output status have in common: the status of a range of outputs of one level. Built on the bridge
/// apartment.
class OutputRangeRsp : public RspBase
{
public:
    using RspBase::RspBase;

protected:
    /// The outputs asked for; numbers wrap as unsigned ones do.
    struct Range
    {
        std::uint32_t level;
        std::uint32_t firstOutput;
        std::uint32_t count;
    };

    /// Queries each output of the range and writes one entry for it, back to back from offset `entries`: the words of
    /// an `OutputSource` or of an `OutputStatus`.
    template <typename Entry>
    void writeEntries(std::size_t entries, const Range& range);
};

/// Carries the result and the input of each output of a range. Built on the bridge apartment.
class TallyRsp final : public com::tallowcrest::util::Pooled<TallyRsp, OutputRangeRsp>
{
public:
    static constexpr const char* poolName = "TallyRsp";

    TallyRsp(const WireReader& request, ConnectionContext& context);
};

/// Asks which inputs a range of outputs shows. Answered by `TallyRsp`.
class TallyCmd final : public com::tallowcrest::util::Pooled<TallyCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "TallyCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

/// Carries the status of each output of a range: with format 1 the result and the input, with any other also the lock
/// state and its holder. Built on the bridge apartment.
class GetOutputStatusRsp final : public com::tallowcrest::util::Pooled<GetOutputStatusRsp, OutputRangeRsp>
{
public:
    static constexpr const char* poolName = "GetOutputStatusRsp";

    GetOutputStatusRsp(const WireReader& request, ConnectionContext& context);
};

/// Asks for the status of a range of outputs. Answered by `GetOutputStatusRsp`.
class GetOutputStatusCmd final : public com::tallowcrest::util::Pooled<GetOutputStatusCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "GetOutputStatusCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};

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

/// Asks which outputs changed since this connection last asked. Answered by `GetOutputChangesRsp`.
class GetOutputChangesCmd final : public com::tallowcrest::util::Pooled<GetOutputChangesCmd, CmdBase>
{
public:
    static constexpr const char* poolName = "GetOutputChangesCmd";
    using Pooled::Pooled;

    std::unique_ptr<Rsp> createRsp() override;
};
