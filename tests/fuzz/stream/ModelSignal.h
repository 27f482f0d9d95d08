#pragma once

#include "bustypes/RoutingTypes.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fuzz
{

/// One signal type's crosspoints as the bridge is to keep them: the oracle of the stream harness.
struct ModelSignal
{
    using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
    using Member = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;

    static constexpr std::uint32_t none = 0xffffffff;

    ModelSignal(std::uint32_t greatest, std::string topic) : greatestNumber(greatest), targetTopic(std::move(topic))
    {
        for (std::uint32_t output = 0; output <= greatest; ++output)
        {
            targets.push_back({.macroXptOutput = output, .macroXptInput = none});
        }
        statuses = targets;
    }

    bool offersInput(std::uint64_t input) const
    {
        return std::any_of(members.begin(), members.end(), [input](const auto& entry) {
            const Member& member = entry.second;
            return input >= member.macroXptInputStart &&
                   input < std::uint64_t{member.macroXptInputStart} + member.numMacroXptInputs;
        });
    }
    /// In the table and offered by a member.
    bool hasOutput(std::uint64_t output) const
    {
        return output <= greatestNumber && std::any_of(members.begin(), members.end(), [output](const auto& entry) {
                   const Member& member = entry.second;
                   return output >= member.macroXptOutputStart &&
                          output < std::uint64_t{member.macroXptOutputStart} + member.numMacroXptOutputs;
               });
    }

    std::uint32_t greatestNumber; ///< of inputs and of outputs
    std::string targetTopic;
    std::vector<Output> targets;  ///< by output
    std::vector<Output> statuses; ///< by output
    std::map<std::uint16_t, Member> members;
    std::map<std::string, std::map<std::uint32_t, Output>> history; ///< what was written, by partition and output
};

} // namespace fuzz
