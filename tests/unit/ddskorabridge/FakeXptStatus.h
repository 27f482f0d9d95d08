#pragma once

#include "ddskorabridge/IXptStatus.h"

#include <cstdint>
#include <map>

/// Answers the records that a test sets; every other output is beyond the table.
class FakeXptStatus final : public IXptStatus
{
public:
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
        const auto found = records.find(output);
        if (found == records.end())
        {
            return 4;
        }
        input = found->second.input;
        lprState = found->second.lprState;
        lprId = found->second.lprId;
        return 0;
    }

    std::map<std::uint32_t, Record> records; // by output
};
