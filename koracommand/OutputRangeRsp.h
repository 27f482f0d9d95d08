#pragma once

#include "koracommand/RspBase.h"

#include <cstddef>
#include <cstdint>

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

    /// How much of each output's status an entry carries.
    enum class EntryWords : std::size_t
    {
        ResultInput = 2,
        ResultInputLprStateLprId = 4
    };

    /// Queries each output of the range and writes one entry for it, back to back from offset `entries`.
    void writeEntries(std::size_t entries, const Range& range, EntryWords entryWords);
};
