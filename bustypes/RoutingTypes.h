#pragma once

#include <compare>
#include <cstdint>
#include <string>

/// The data of the routing bus as C++ values; the wire form is that of `routing.idl`, and TypeDescriptions.h ties the
/// two together. Values are ordered by their members in the order of the IDL.
namespace com::tallowcrest::dds_::routing
{

using FrameId = std::uint32_t;
using ComponentId = std::uint32_t;
using MacroXpt = std::uint32_t;
using Timecode = std::uint32_t;
using LPRId = std::uint32_t;
using MacroLevelId = std::uint16_t;
using ControllerNumber = std::uint32_t;

// Unscoped, because the enumerators are names of the bus.
enum LPRState : std::uint32_t
{
    LPR_RELEASED = 0,
    LPR_PROTECTED = 1,
    LPR_LOCKED = 2
};

enum MacroLevelSignalType : std::uint32_t
{
    LST_Video = 0,
    LST_Audio = 1
};

/// The size of a router. The bridge never reads it.
enum Topology : std::uint32_t
{
    T288x288_IP = 0,
    T144x144 = 1,
    T288x288 = 2,
    T216x432 = 3,
    T432x216 = 4,
    T192x576 = 5,
    T576x192 = 6,
    T288x576 = 7,
    T576x288 = 8,
    T288x864 = 9,
    T864x288 = 10,
    T288x1152 = 11,
    T576x576 = 12,
    T1152x288 = 13,
    T288x1728 = 14,
    T576x864 = 15,
    T864x576 = 16,
    T1728x288 = 17
};

/// A component announces itself. Key: frameId, componentId.
struct ComponentInfo
{
    FrameId frameId = 0;
    ComponentId componentId = 0;
    std::string name;        ///< at most 32 characters
    std::string description; ///< at most 128 characters

    auto operator<=>(const ComponentInfo&) const = default;
};

/// A router. Key: routerPartition. No topic of the bridge carries it.
struct MacroRouter
{
    std::string routerPartition; ///< at most 16 characters
    std::string name;            ///< at most 32 characters
    Topology topology = T288x288_IP;

    auto operator<=>(const MacroRouter&) const = default;
};

/// A frame is a member of a router. Key: frameId.
struct RouterMember
{
    FrameId frameId = 0;
    std::string routerPartition; ///< at most 16 characters
    std::uint16_t memberIndex = 0;

    auto operator<=>(const RouterMember&) const = default;
};

/// The route and lock of one router output. Key: macroXptOutput.
struct MacroXptOutput
{
    MacroXpt macroXptOutput = 0;
    MacroXpt macroXptInput = 0;
    Timecode when = 0; ///< packed timecode at which the route is to take or took effect
    LPRId lprId = 0;
    LPRState lprState = LPR_RELEASED;

    auto operator<=>(const MacroXptOutput&) const = default;
};

/// A level of a router. Key: levelId.
struct MacroLevel
{
    MacroLevelId levelId = 0;
    MacroLevelSignalType levelSignalType = LST_Video;
    MacroXpt macroXptInputStart = 0;
    std::uint32_t numMacroXptInputs = 0;
    ControllerNumber controllerInputStart = 0;
    MacroXpt macroXptOutputStart = 0;
    std::uint32_t numMacroXptOutputs = 0;
    ControllerNumber controllerOutputStart = 0;

    auto operator<=>(const MacroLevel&) const = default;
};

/// The crosspoint ranges that one member frame offers. Key: memberIndex.
struct RouterMemberMacroXpts
{
    std::uint16_t memberIndex = 0;
    MacroXpt macroXptInputStart = 0;
    std::uint32_t numMacroXptInputs = 0;
    MacroXpt macroXptOutputStart = 0;
    std::uint32_t numMacroXptOutputs = 0;

    auto operator<=>(const RouterMemberMacroXpts&) const = default;
};

} // namespace com::tallowcrest::dds_::routing
