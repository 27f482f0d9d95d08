#pragma once

#include "bustypes/RoutingTypes.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fuzz
{

/// A level as the protocol describes it, written for clearness, not for speed: the oracle of the stream harness. All
/// arithmetic in 64 bits.
class ModelLevel
{
public:
    using Description = com::tallowcrest::dds_::routing::MacroLevel;

    explicit ModelLevel(const Description& description)
        : m_description(description), m_changedFor(description.numMacroXptOutputs, 0)
    {}

    std::optional<std::uint32_t> inputXpt(std::uint32_t controllerInput) const
    {
        return across(controllerInput, m_description.controllerInputStart, m_description.numMacroXptInputs,
                      m_description.macroXptInputStart);
    }
    std::optional<std::uint32_t> outputXpt(std::uint32_t controllerOutput) const
    {
        return across(controllerOutput, m_description.controllerOutputStart, m_description.numMacroXptOutputs,
                      m_description.macroXptOutputStart);
    }
    std::optional<std::uint32_t> controllerInput(std::uint32_t xpt) const
    {
        return across(xpt, m_description.macroXptInputStart, m_description.numMacroXptInputs,
                      m_description.controllerInputStart);
    }

    /// The output of that macro crosspoint changed, for all 16 connections.
    void noteChange(std::uint32_t xpt)
    {
        const auto output = across(xpt, m_description.macroXptOutputStart, m_description.numMacroXptOutputs,
                                   m_description.controllerOutputStart);
        if (output)
        {
            m_changedFor[*output - m_description.controllerOutputStart] = 0xffff;
        }
    }
    void noteConnection(std::uint32_t connection)
    {
        for (std::uint16_t& changed : m_changedFor)
        {
            changed = static_cast<std::uint16_t>(changed | (1U << connection));
        }
    }
    /// Takes at most `limit` changed outputs for the connection, lowest first.
    std::vector<std::uint32_t> takeChanges(std::uint32_t connection, std::size_t limit)
    {
        std::vector<std::uint32_t> outputs;
        for (std::uint32_t i = 0; i < m_changedFor.size() && outputs.size() < limit; ++i)
        {
            if ((m_changedFor[i] & (1U << connection)) != 0)
            {
                m_changedFor[i] = static_cast<std::uint16_t>(m_changedFor[i] & ~(1U << connection));
                outputs.push_back(m_description.controllerOutputStart + i); // wraps, as the link's numbers do
            }
        }
        return outputs;
    }

    std::size_t numOutputs() const { return m_changedFor.size(); }
    bool isVideo() const { return m_description.levelSignalType == com::tallowcrest::dds_::routing::LST_Video; }

private:
    /// `number` of a block that begins at `start` in the block that begins at `otherStart`; nothing when it is outside
    /// or has no counterpart in 32 bits.
    static std::optional<std::uint32_t> across(std::uint64_t number, std::uint64_t start, std::uint64_t count,
                                               std::uint64_t otherStart)
    {
        const std::uint64_t other = otherStart + number - start;
        if (number < start || number >= start + count || other > 0xffffffffU)
        {
            return std::nullopt;
        }
        return static_cast<std::uint32_t>(other);
    }

    Description m_description;
    std::vector<std::uint16_t> m_changedFor; ///< by output; a bit for each connection
};

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
    std::set<std::uint16_t> memberIndexes; ///< that have been published since the join, as many as are read
    std::map<std::string, std::map<std::uint32_t, Output>> history; ///< what was written, by partition and output
};

} // namespace fuzz
