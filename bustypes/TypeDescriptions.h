#pragma once

#include <type_traits>

#include "bustypes/RoutingTypes.h"

namespace com::tallowcrest::dds_::routing
{

/// What a member says about its sample.
enum class MemberRole
{
    Key,   ///< part of the instance's name
    Value, ///< part of what the sample says
    When   ///< when that takes or took effect
};

/// Calls `visit(name, member, role)` for each member of a bus value, in the order of the IDL. `Value` is a bus type,
/// const or not.
template <typename Value, typename Visit>
void visitMembers(Value& value, Visit&& visit)
{
    using Type = std::remove_const_t<Value>;
    if constexpr (std::is_same_v<Type, ComponentInfo>)
    {
        visit("frameId", value.frameId, MemberRole::Key);
        visit("componentId", value.componentId, MemberRole::Key);
        visit("name", value.name, MemberRole::Value);
        visit("description", value.description, MemberRole::Value);
    }
    else if constexpr (std::is_same_v<Type, MacroRouter>)
    {
        visit("routerPartition", value.routerPartition, MemberRole::Key);
        visit("name", value.name, MemberRole::Value);
        visit("topology", value.topology, MemberRole::Value);
    }
    else if constexpr (std::is_same_v<Type, RouterMember>)
    {
        visit("frameId", value.frameId, MemberRole::Key);
        visit("routerPartition", value.routerPartition, MemberRole::Value);
        visit("memberIndex", value.memberIndex, MemberRole::Value);
    }
    else if constexpr (std::is_same_v<Type, MacroXptOutput>)
    {
        visit("macroXptOutput", value.macroXptOutput, MemberRole::Key);
        visit("macroXptInput", value.macroXptInput, MemberRole::Value);
        visit("when", value.when, MemberRole::When);
        visit("lprId", value.lprId, MemberRole::Value);
        visit("lprState", value.lprState, MemberRole::Value);
    }
    else if constexpr (std::is_same_v<Type, MacroLevel>)
    {
        visit("levelId", value.levelId, MemberRole::Key);
        visit("levelSignalType", value.levelSignalType, MemberRole::Value);
        visit("macroXptInputStart", value.macroXptInputStart, MemberRole::Value);
        visit("numMacroXptInputs", value.numMacroXptInputs, MemberRole::Value);
        visit("controllerInputStart", value.controllerInputStart, MemberRole::Value);
        visit("macroXptOutputStart", value.macroXptOutputStart, MemberRole::Value);
        visit("numMacroXptOutputs", value.numMacroXptOutputs, MemberRole::Value);
        visit("controllerOutputStart", value.controllerOutputStart, MemberRole::Value);
    }
    else
    {
        static_assert(std::is_same_v<Type, RouterMemberMacroXpts>);
        visit("memberIndex", value.memberIndex, MemberRole::Key);
        visit("macroXptInputStart", value.macroXptInputStart, MemberRole::Value);
        visit("numMacroXptInputs", value.numMacroXptInputs, MemberRole::Value);
        visit("macroXptOutputStart", value.macroXptOutputStart, MemberRole::Value);
        visit("numMacroXptOutputs", value.numMacroXptOutputs, MemberRole::Value);
    }
}

} // namespace com::tallowcrest::dds_::routing
