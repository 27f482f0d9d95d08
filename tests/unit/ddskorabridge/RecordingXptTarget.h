#pragma once

#include "ddskorabridge/IXptTarget.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Records every call as text and answers the results that a test sets; everything is permitted otherwise.
class RecordingXptTarget final : public IXptTarget
{
public:
    using LPRState = com::tallowcrest::dds_::routing::LPRState;

    std::uint32_t checkTake(std::uint32_t output, std::uint32_t input, std::uint32_t lprId) const override
    {
        record("checkTake", {output, input, lprId});
        return resultOf(output);
    }
    void take(std::uint32_t output, std::uint32_t input, std::uint32_t lprId, std::uint32_t when) override
    {
        record("take", {output, input, lprId, when});
    }
    std::uint32_t checkLpr(std::uint32_t output, bool force, std::uint32_t lprId) const override
    {
        record("checkLpr", {output, force ? 1U : 0U, lprId});
        return resultOf(output);
    }
    void setLpr(std::uint32_t output, std::uint32_t lprId, LPRState lprState, std::uint32_t when) override
    {
        record("setLpr", {output, lprId, lprState, when});
    }

    /// Result of both checks by output.
    std::map<std::uint32_t, std::uint32_t> results;
    mutable std::vector<std::string> calls;

private:
    std::uint32_t resultOf(std::uint32_t output) const
    {
        const auto found = results.find(output);
        return found != results.end() ? found->second : 0;
    }
    void record(std::string name, const std::vector<std::uint32_t>& arguments) const
    {
        for (const std::uint32_t argument : arguments)
        {
            name += " " + std::to_string(argument);
        }
        calls.push_back(name);
    }
};
