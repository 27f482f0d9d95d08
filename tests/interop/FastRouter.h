#pragma once

#include "tests/interop/FastParticipant.h"
#include "tests/interop/FastReader.h"

#include <string>

// Generated at build time (FastLibrary.h).
namespace com::tallowcrest::dds_::routing
{
class ComponentInfo;
class MacroLevel;
class MacroXptOutput;
class RouterMember;
class RouterMemberMacroXpts;
} // namespace com::tallowcrest::dds_::routing

/// What a sample's writer does with it.
enum class Operation
{
    Write,
    Dispose,
    Unregister
};

enum class Signal
{
    Video,
    Audio
};

/// The router's side of the bus, through the other DDS implementation: writes memberships, crosspoint ranges, levels,
/// status and local targets, and prints the targets and component records that it sees. Topic and partition names are
/// spelled out in its source, not taken from the bridge's table, so that a slip in either shows. Owned by one thread; a
/// write that fails throws std::runtime_error.
class FastRouter
{
public:
    using RouterMember = com::tallowcrest::dds_::routing::RouterMember;
    using RouterMemberMacroXpts = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;
    using MacroLevel = com::tallowcrest::dds_::routing::MacroLevel;
    using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
    using ComponentInfo = com::tallowcrest::dds_::routing::ComponentInfo;

    /// Everything but memberships and component records lives in the partition of `routerPartition`.
    FastRouter(int domainId, const std::string& routerPartition);

    void member(Operation operation, RouterMember sample);
    void ranges(Operation operation, Signal signal, RouterMemberMacroXpts sample);
    void level(Operation operation, MacroLevel sample);
    void status(Operation operation, Signal signal, MacroXptOutput sample);
    void localTarget(Operation operation, Signal signal, MacroXptOutput sample);

private:
    using Writer = eprosima::fastdds::dds::DataWriter;

    // Listeners before the participant: it calls them until it is gone.
    FastReader<MacroXptOutput> m_videoTargets;
    FastReader<MacroXptOutput> m_audioTargets;
    FastReader<ComponentInfo> m_components;
    FastParticipant m_participant;
    Writer& m_member;
    Writer& m_videoRanges;
    Writer& m_audioRanges;
    Writer& m_level;
    Writer& m_videoStatus;
    Writer& m_audioStatus;
    Writer& m_videoLocalTarget;
    Writer& m_audioLocalTarget;
};
