#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TypedTopics.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

/// The blocks of macro crosspoints that the member frames of a router offer. Starts empty: nothing is available until
/// the first member is added. Owned by one target manager; apartment-bound.
class MacroXptAvailable
{
public:
    using Sample = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;

    /// Each take looks at all of them. A router has a few.
    static constexpr std::size_t mostMembers = com::tallowcrest::routing::RouterMemberXptsSub::mostMembers;

    /// Adds the member's blocks, or replaces those it had. False, and all stays as it is, when it would be one too
    /// many.
    bool add(const Sample& sample);
    /// Forgets the member; only its index is read.
    void remove(const Sample& sample);

    bool isInputAvailable(std::uint32_t xpt) const;
    bool isOutputAvailable(std::uint32_t xpt) const;

    /// Prints every member to the console, in no particular order.
    void show(const std::string& title) const;

private:
    struct Record
    {
        std::uint32_t memberIndex = 0;
        std::uint32_t inputStart = 0;
        std::uint32_t numInputs = 0;
        std::uint32_t outputStart = 0;
        std::uint32_t numOutputs = 0;
    };

    std::unordered_map<std::uint32_t, Record> m_members; // by member index
};
