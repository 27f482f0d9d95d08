#pragma once

#include "bustypes/RoutingTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// One record per macro output, 0 to the maximum output inclusive, and its printed form. Owned by one crosspoint
/// manager; apartment-bound. Allocates in the constructor only (the text apart).
class MacroXptTable
{
public:
    using Record = com::tallowcrest::dds_::routing::MacroXptOutput;

    /// Stands for "no route known" or "no target yet".
    static constexpr std::uint32_t noInput = 0xFFFFFFFF;

    /// Every record starts with no input, timecode 0 and released.
    explicit MacroXptTable(std::uint32_t maxOutput);

    std::uint32_t maxOutput() const { return m_maxOutput; }
    bool contains(std::uint32_t output) const { return output <= m_maxOutput; }

    /// `output` must be contained.
    const Record& record(std::uint32_t output) const { return m_records[output]; }
    /// Those of `output` and up to `count` - 1 that follow it, as far as they are contained; none when `output` is not.
    std::span<const Record> records(std::uint32_t output, std::size_t count) const
    {
        const auto from = std::span(m_records).subspan(std::min<std::size_t>(output, m_records.size()));
        return from.first(std::min(count, from.size()));
    }
    /// Replaces the record of the output that `record` names, which must be contained.
    void store(const Record& record) { m_records[record.macroXptOutput] = record; }
    /// Puts the record back as it started.
    void reset(std::uint32_t output);

    /// The header and one row per output from `first` to the smaller of `last` and the maximum output; empty when
    /// `first` is beyond the maximum output.
    std::string text(const std::string& routerPartition, std::uint32_t first, std::uint32_t last) const;

private:
    std::uint32_t m_maxOutput = 0;
    std::vector<Record> m_records; // by output
};

/// Gives its crosspoints as a printed table. Apartment-bound.
class IXptTable
{
public:
    IXptTable() = default;
    virtual ~IXptTable() = default;
    IXptTable(const IXptTable&) = delete;
    IXptTable& operator=(const IXptTable&) = delete;

    /// A header and one row per output from `first` to `last`, cut at the maximum output; empty when `first` is beyond.
    virtual std::string table(std::uint32_t first, std::uint32_t last) const = 0;
};
