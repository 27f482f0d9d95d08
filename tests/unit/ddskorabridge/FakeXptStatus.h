#pragma once

#include "ddskorabridge/IXptStatus.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

/// Answers the records that a test sets; every other output is beyond the table.
class FakeXptStatus final : public IXptStatus
{
public:
    using Sample = com::tallowcrest::dds_::routing::MacroXptOutput;
    using LPRState = com::tallowcrest::dds_::routing::LPRState;

    struct Record
    {
        std::uint32_t input = 0;
        LPRState lprState = com::tallowcrest::dds_::routing::LPR_RELEASED;
        std::uint32_t lprId = 0;
    };

    std::uint32_t getStatus(std::uint32_t output, std::uint32_t& input, LPRState& lprState,
                            std::uint32_t& lprId) const override
    {
        const auto found = outputs.find(output);
        if (found == outputs.end())
        {
            return 4;
        }
        input = found->second.input;
        lprState = found->second.lprState;
        lprId = found->second.lprId;
        return 0;
    }

    std::span<const Sample> records(std::uint32_t firstOutput, std::size_t count) const override
    {
        m_samples.clear();
        for (auto next = outputs.find(firstOutput);
             next != outputs.end() && m_samples.size() < count && next->first == firstOutput + m_samples.size(); ++next)
        {
            const auto& [output, record] = *next;
            m_samples.push_back({.macroXptOutput = output,
                                 .macroXptInput = record.input,
                                 .lprId = record.lprId,
                                 .lprState = record.lprState});
        }
        return m_samples;
    }

    std::map<std::uint32_t, Record> outputs; // those that the table has

private:
    mutable std::vector<Sample> m_samples; // of the last answer
};
