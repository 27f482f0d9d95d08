#pragma once

#include "bustypes/BoundedString.h"
#include "bustypes/TypeDescriptions.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>

namespace com::tallowcrest::dds_::routing
{

/// Stands for a member of whatever type.
struct Anything
{
    template <typename MemberType>
    operator MemberType() const;
};

/// The number of members of an aggregate: as many values as it can be made from.
template <typename T, typename... Anythings>
constexpr std::size_t memberCount()
{
    if constexpr (requires { T{Anythings{}..., Anything{}}; })
    {
        return memberCount<T, Anythings..., Anything>();
    }
    else
    {
        return sizeof...(Anythings);
    }
}

/// Copies a member into the C struct. Strings over their bound are cut; enumerators travel as numbers, so a number that
/// no enumerator has passes through unchanged.
template <typename TypeMember, typename BusMember>
void memberToBus(const TypeMember& member, BusMember& bus)
{
    if constexpr (std::is_same_v<TypeMember, std::string>)
    {
        copyToBus(member, bus);
    }
    else if constexpr (std::is_enum_v<TypeMember>)
    {
        // The generated C enumerations have no fixed width of their own; a value outside their range must never be held
        // in a variable of the C type, so only the bytes are copied.
        static_assert(sizeof(TypeMember) == sizeof(BusMember) && std::is_enum_v<BusMember>);
        std::memcpy(&bus, &member, sizeof(bus));
    }
    else
    {
        static_assert(std::is_same_v<TypeMember, BusMember>);
        bus = member;
    }
}

/// The way back.
template <typename TypeMember, typename BusMember>
void memberFromBus(const BusMember& bus, TypeMember& member)
{
    if constexpr (std::is_same_v<TypeMember, std::string>)
    {
        member = copyFromBus(bus);
    }
    else if constexpr (std::is_enum_v<TypeMember>)
    {
        std::memcpy(&member, &bus, sizeof(member));
    }
    else
    {
        member = bus;
    }
}

/// Ties a bus type to what the IDL compiler generated for it.
template <typename T>
struct TypeSupport
{
    using BusType = typename TypeDescription<T>::Bus;

    static_assert(std::tuple_size_v<decltype(TypeDescription<T>::members)> == memberCount<T>(),
                  "the description leaves a member out");

    /// The topic descriptor, which also says the registered name of the type.
    static const dds_topic_descriptor_t& descriptor() { return TypeDescription<T>::descriptor; }

    static BusType toBus(const T& value)
    {
        BusType bus{};
        visitMembers<T>([&](const auto& member) { memberToBus(value.*member.inValue, bus.*member.inBus); });
        return bus;
    }

    static T fromBus(const BusType& bus)
    {
        T value;
        visitMembers<T>([&](const auto& member) { memberFromBus(bus.*member.inBus, value.*member.inValue); });
        return value;
    }
};

/// Where a DDS interface finds it by the type alone. Never called.
template <typename T>
TypeSupport<T> type_support_of(std::type_identity<T>);

} // namespace com::tallowcrest::dds_::routing
