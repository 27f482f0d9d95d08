#include "bustypes/TypeSupport.h"

#include <cstring>

#include "bustypes/BoundedString.h"

namespace com::tallowcrest::dds_::routing
{

namespace
{

// The C++ values and the IDL must say the same.
static_assert(LPR_RELEASED == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_LPR_RELEASED));
static_assert(LPR_PROTECTED == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_LPR_PROTECTED));
static_assert(LPR_LOCKED == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_LPR_LOCKED));
static_assert(LST_Video == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_LST_Video));
static_assert(LST_Audio == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_LST_Audio));
#define SAME_TOPOLOGY(NAME)                                                                                            \
    static_assert((NAME) == static_cast<std::uint32_t>(com_tallowcrest_dds__routing_##NAME), #NAME)
SAME_TOPOLOGY(T288x288_IP);
SAME_TOPOLOGY(T144x144);
SAME_TOPOLOGY(T288x288);
SAME_TOPOLOGY(T216x432);
SAME_TOPOLOGY(T432x216);
SAME_TOPOLOGY(T192x576);
SAME_TOPOLOGY(T576x192);
SAME_TOPOLOGY(T288x576);
SAME_TOPOLOGY(T576x288);
SAME_TOPOLOGY(T288x864);
SAME_TOPOLOGY(T864x288);
SAME_TOPOLOGY(T288x1152);
SAME_TOPOLOGY(T576x576);
SAME_TOPOLOGY(T1152x288);
SAME_TOPOLOGY(T288x1728);
SAME_TOPOLOGY(T576x864);
SAME_TOPOLOGY(T864x576);
SAME_TOPOLOGY(T1728x288);
#undef SAME_TOPOLOGY

static_assert(sizeof(com_tallowcrest_dds__routing_ComponentInfo::name) == componentNameBound + 1);
static_assert(sizeof(com_tallowcrest_dds__routing_ComponentInfo::description) == componentDescriptionBound + 1);
static_assert(sizeof(com_tallowcrest_dds__routing_MacroRouter::routerPartition) == routerPartitionBound + 1);
static_assert(sizeof(com_tallowcrest_dds__routing_MacroRouter::name) == routerNameBound + 1);
static_assert(sizeof(com_tallowcrest_dds__routing_RouterMember::routerPartition) == routerPartitionBound + 1);

/// The generated C enumerations have no fixed width of their own; a value outside their range must never be held in a
/// variable of the C type, so only the bytes are copied.
template <typename Enum, typename BusEnum>
void enumToBus(Enum value, BusEnum& target)
{
    static_assert(sizeof(Enum) == sizeof(BusEnum));
    std::memcpy(&target, &value, sizeof(target));
}

template <typename Enum, typename BusEnum>
Enum enumFromBus(const BusEnum& source)
{
    static_assert(sizeof(Enum) == sizeof(BusEnum));
    Enum value{};
    std::memcpy(&value, &source, sizeof(value));
    return value;
}

} // namespace

TypeSupport<ComponentInfo>::BusType TypeSupport<ComponentInfo>::toBus(const ComponentInfo& value)
{
    BusType bus{};
    bus.frameId = value.frameId;
    bus.componentId = value.componentId;
    copyToBus(value.name, bus.name);
    copyToBus(value.description, bus.description);
    return bus;
}

ComponentInfo TypeSupport<ComponentInfo>::fromBus(const BusType& bus)
{
    return ComponentInfo{bus.frameId, bus.componentId, copyFromBus(bus.name), copyFromBus(bus.description)};
}

TypeSupport<MacroRouter>::BusType TypeSupport<MacroRouter>::toBus(const MacroRouter& value)
{
    BusType bus{};
    copyToBus(value.routerPartition, bus.routerPartition);
    copyToBus(value.name, bus.name);
    enumToBus(value.topology, bus.topology);
    return bus;
}

MacroRouter TypeSupport<MacroRouter>::fromBus(const BusType& bus)
{
    return MacroRouter{copyFromBus(bus.routerPartition), copyFromBus(bus.name), enumFromBus<Topology>(bus.topology)};
}

TypeSupport<RouterMember>::BusType TypeSupport<RouterMember>::toBus(const RouterMember& value)
{
    BusType bus{};
    bus.frameId = value.frameId;
    copyToBus(value.routerPartition, bus.routerPartition);
    bus.memberIndex = value.memberIndex;
    return bus;
}

RouterMember TypeSupport<RouterMember>::fromBus(const BusType& bus)
{
    return RouterMember{bus.frameId, copyFromBus(bus.routerPartition), bus.memberIndex};
}

TypeSupport<MacroXptOutput>::BusType TypeSupport<MacroXptOutput>::toBus(const MacroXptOutput& value)
{
    BusType bus{};
    bus.macroXptOutput = value.macroXptOutput;
    bus.macroXptInput = value.macroXptInput;
    bus.when = value.when;
    bus.lprId = value.lprId;
    enumToBus(value.lprState, bus.lprState);
    return bus;
}

MacroXptOutput TypeSupport<MacroXptOutput>::fromBus(const BusType& bus)
{
    return MacroXptOutput{bus.macroXptOutput, bus.macroXptInput, bus.when, bus.lprId,
                          enumFromBus<LPRState>(bus.lprState)};
}

TypeSupport<MacroLevel>::BusType TypeSupport<MacroLevel>::toBus(const MacroLevel& value)
{
    BusType bus{};
    bus.levelId = value.levelId;
    enumToBus(value.levelSignalType, bus.levelSignalType);
    bus.macroXptInputStart = value.macroXptInputStart;
    bus.numMacroXptInputs = value.numMacroXptInputs;
    bus.controllerInputStart = value.controllerInputStart;
    bus.macroXptOutputStart = value.macroXptOutputStart;
    bus.numMacroXptOutputs = value.numMacroXptOutputs;
    bus.controllerOutputStart = value.controllerOutputStart;
    return bus;
}

MacroLevel TypeSupport<MacroLevel>::fromBus(const BusType& bus)
{
    return MacroLevel{bus.levelId,
                      enumFromBus<MacroLevelSignalType>(bus.levelSignalType),
                      bus.macroXptInputStart,
                      bus.numMacroXptInputs,
                      bus.controllerInputStart,
                      bus.macroXptOutputStart,
                      bus.numMacroXptOutputs,
                      bus.controllerOutputStart};
}

TypeSupport<RouterMemberMacroXpts>::BusType
TypeSupport<RouterMemberMacroXpts>::toBus(const RouterMemberMacroXpts& value)
{
    BusType bus{};
    bus.memberIndex = value.memberIndex;
    bus.macroXptInputStart = value.macroXptInputStart;
    bus.numMacroXptInputs = value.numMacroXptInputs;
    bus.macroXptOutputStart = value.macroXptOutputStart;
    bus.numMacroXptOutputs = value.numMacroXptOutputs;
    return bus;
}

RouterMemberMacroXpts TypeSupport<RouterMemberMacroXpts>::fromBus(const BusType& bus)
{
    return RouterMemberMacroXpts{bus.memberIndex, bus.macroXptInputStart, bus.numMacroXptInputs,
                                 bus.macroXptOutputStart, bus.numMacroXptOutputs};
}

} // namespace com::tallowcrest::dds_::routing
