#pragma once

#include <dds/ddsc/dds_public_impl.h>

#include <routing.h>

#include "bustypes/RoutingTypes.h"

namespace com::tallowcrest::dds_::routing
{

/// Ties a bus type to what the IDL compiler generated for it. Each specialisation has
///   `BusType`       the generated C struct,
///   `typeName`      the registered name of the type,
///   `descriptor()`  the topic descriptor, static storage,
///   `toBus(value)`  the C struct; strings over their bound are cut (see BoundedString.h),
///   `fromBus(bus)`  the C++ value.
/// Enumerators travel as numbers, so a number that no enumerator has passes through unchanged.
template <typename T>
struct TypeSupport;

#define KORABRIDGE_TYPE_SUPPORT(TYPE)                                                                                  \
    template <>                                                                                                        \
    struct TypeSupport<TYPE>                                                                                           \
    {                                                                                                                  \
        using BusType = com_tallowcrest_dds__routing_##TYPE;                                                           \
        static constexpr const char* typeName = "com::tallowcrest::dds_::routing::" #TYPE;                             \
        static const dds_topic_descriptor_t& descriptor() { return com_tallowcrest_dds__routing_##TYPE##_desc; }       \
        static BusType toBus(const TYPE& value);                                                                       \
        static TYPE fromBus(const BusType& bus);                                                                       \
    }

KORABRIDGE_TYPE_SUPPORT(ComponentInfo);
KORABRIDGE_TYPE_SUPPORT(MacroRouter);
KORABRIDGE_TYPE_SUPPORT(RouterMember);
KORABRIDGE_TYPE_SUPPORT(MacroXptOutput);
KORABRIDGE_TYPE_SUPPORT(MacroLevel);
KORABRIDGE_TYPE_SUPPORT(RouterMemberMacroXpts);

#undef KORABRIDGE_TYPE_SUPPORT

} // namespace com::tallowcrest::dds_::routing
