#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/ILevel.h"
#include "koracommand/RspBase.h"

#include <cstddef>
#include <cstdint>

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
