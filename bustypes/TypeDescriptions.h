#pragma once

#include "bustypes/RoutingTypes.h"

#include <dds/ddsc/dds_public_impl.h>
#include <routing.h>

#include <tuple>

/// What the bus needs to know of its types, said once for each: conversion (TypeSupport.h) and texts (SampleText.h) are
/// made from it.
namespace com::tallowcrest::dds_::routing
{

/// What a member says about its sample.
enum class MemberRole
{
    Key,   ///< part of the instance's name
    Value, ///< part of what the sample says
    When   ///< when that takes or took effect
};

/// One member of a bus type: its name in the IDL, and its place in the C++ value and in the IDL compiler's C struct.
template <typename Type, typename TypeMember, typename Bus, typename BusMember>
struct Member
{
    const char* name;
    MemberRole role;
    TypeMember Type::*inValue;
    BusMember Bus::*inBus;
};
template <typename Type, typename TypeMember, typename Bus, typename BusMember>
constexpr Member<Type, TypeMember, Bus, BusMember> makeMember(const char* name, MemberRole role,
                                                              TypeMember Type::*inValue, BusMember Bus::*inBus)
{
    return {name, role, inValue, inBus};
}

/// Each type of the bus has a specialisation with
///   `Type`, `Bus`  the C++ value and the IDL compiler's C struct,
///   `descriptor`   the topic descriptor, static storage,
///   `members`      a tuple of all members, in the order of the IDL.
template <typename T>
struct TypeDescription;

#define KORABRIDGE_MEMBER(ROLE, NAME) makeMember(#NAME, MemberRole::ROLE, &Type::NAME, &Bus::NAME)
// One member a line.
// clang-format off

template <>
struct TypeDescription<ComponentInfo>
{
    using Type = ComponentInfo;
    using Bus = com_tallowcrest_dds__routing_ComponentInfo;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_ComponentInfo_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, frameId),
        KORABRIDGE_MEMBER(Key, componentId),
        KORABRIDGE_MEMBER(Value, name),
        KORABRIDGE_MEMBER(Value, description),
    };
};

template <>
struct TypeDescription<MacroRouter>
{
    using Type = MacroRouter;
    using Bus = com_tallowcrest_dds__routing_MacroRouter;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_MacroRouter_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, routerPartition),
        KORABRIDGE_MEMBER(Value, name),
        KORABRIDGE_MEMBER(Value, topology),
    };
};

template <>
struct TypeDescription<RouterMember>
{
    using Type = RouterMember;
    using Bus = com_tallowcrest_dds__routing_RouterMember;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_RouterMember_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, frameId),
        KORABRIDGE_MEMBER(Value, routerPartition),
        KORABRIDGE_MEMBER(Value, memberIndex),
    };
};

template <>
struct TypeDescription<MacroXptOutput>
{
    using Type = MacroXptOutput;
    using Bus = com_tallowcrest_dds__routing_MacroXptOutput;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_MacroXptOutput_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, macroXptOutput),
        KORABRIDGE_MEMBER(Value, macroXptInput),
        KORABRIDGE_MEMBER(When, when),
        KORABRIDGE_MEMBER(Value, lprId),
        KORABRIDGE_MEMBER(Value, lprState),
    };
};

template <>
struct TypeDescription<MacroLevel>
{
    using Type = MacroLevel;
    using Bus = com_tallowcrest_dds__routing_MacroLevel;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_MacroLevel_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, levelId),
        KORABRIDGE_MEMBER(Value, levelSignalType),
        KORABRIDGE_MEMBER(Value, macroXptInputStart),
        KORABRIDGE_MEMBER(Value, numMacroXptInputs),
        KORABRIDGE_MEMBER(Value, controllerInputStart),
        KORABRIDGE_MEMBER(Value, macroXptOutputStart),
        KORABRIDGE_MEMBER(Value, numMacroXptOutputs),
        KORABRIDGE_MEMBER(Value, controllerOutputStart),
    };
};

template <>
struct TypeDescription<RouterMemberMacroXpts>
{
    using Type = RouterMemberMacroXpts;
    using Bus = com_tallowcrest_dds__routing_RouterMemberMacroXpts;
    static constexpr const dds_topic_descriptor_t& descriptor = com_tallowcrest_dds__routing_RouterMemberMacroXpts_desc;
    static constexpr std::tuple members{
        KORABRIDGE_MEMBER(Key, memberIndex),
        KORABRIDGE_MEMBER(Value, macroXptInputStart),
        KORABRIDGE_MEMBER(Value, numMacroXptInputs),
        KORABRIDGE_MEMBER(Value, macroXptOutputStart),
        KORABRIDGE_MEMBER(Value, numMacroXptOutputs),
    };
};

// clang-format on
#undef KORABRIDGE_MEMBER

/// Calls `visit(member)` with each member of the bus type T, in the order of the IDL.
template <typename T, typename Visit>
constexpr void visitMembers(Visit visit)
{
    std::apply([&visit](const auto&... member) { (visit(member), ...); }, TypeDescription<T>::members);
}

} // namespace com::tallowcrest::dds_::routing
