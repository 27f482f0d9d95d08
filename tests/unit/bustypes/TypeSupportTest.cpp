#include "bustypes/TypeSupport.h"

#include "tests/unit/bustypes/TypeSamples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace com::tallowcrest::dds_::routing;
using typesamples::Sample;

namespace
{

/// What the generated descriptor says of a type.
struct Described
{
    std::string typeName;
    std::vector<std::string> keys;
    bool operator==(const Described&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Described& described)
{
    stream << described.typeName << " keyed by";
    for (const std::string& key : described.keys)
    {
        stream << ' ' << key;
    }
    return stream;
}

template <typename T>
Described describe()
{
    const dds_topic_descriptor_t& descriptor = TypeSupport<T>::descriptor();
    Described result{descriptor.m_typename, {}};
    for (std::uint32_t i = 0; i < descriptor.m_nkeys; ++i)
    {
        result.keys.emplace_back(descriptor.m_keys[i].m_name);
    }
    return result;
}

/// There and back through the generated struct.
template <typename T>
T roundTrip(const T& value)
{
    return TypeSupport<T>::fromBus(TypeSupport<T>::toBus(value));
}

} // namespace

TEST(TypeSupport, RegistersEveryTypeUnderItsQualifiedNameWithItsKeys)
{
    const std::string module = "com::tallowcrest::dds_::routing::";
    EXPECT_EQ(describe<ComponentInfo>(), (Described{module + "ComponentInfo", {"frameId", "componentId"}}));
    EXPECT_EQ(describe<MacroRouter>(), (Described{module + "MacroRouter", {"routerPartition"}}));
    EXPECT_EQ(describe<RouterMember>(), (Described{module + "RouterMember", {"frameId"}}));
    EXPECT_EQ(describe<MacroXptOutput>(), (Described{module + "MacroXptOutput", {"macroXptOutput"}}));
    EXPECT_EQ(describe<MacroLevel>(), (Described{module + "MacroLevel", {"levelId"}}));
    EXPECT_EQ(describe<RouterMemberMacroXpts>(), (Described{module + "RouterMemberMacroXpts", {"memberIndex"}}));
}

TEST(TypeSupport, StringsOverTheirBoundAreCut)
{
    const ComponentInfo back = roundTrip(ComponentInfo{1, 2, std::string(33, 'n'), std::string(129, 'd')});

    EXPECT_EQ(back.name, std::string(32, 'n'));
    EXPECT_EQ(back.description, std::string(128, 'd'));
    EXPECT_EQ(roundTrip(RouterMember{1, std::string(17, 'p'), 0}).routerPartition, std::string(16, 'p'));
    const MacroRouter router = roundTrip(MacroRouter{std::string(17, 'p'), std::string(33, 'n'), T144x144});
    EXPECT_EQ(router.routerPartition, std::string(16, 'p'));
    EXPECT_EQ(router.name, std::string(32, 'n'));
}

TEST(TypeSupport, EachMemberHasItsOwnPlaceInTheStructOfTheBus)
{
    const auto info = TypeSupport<ComponentInfo>::toBus(Sample<ComponentInfo>::value());
    EXPECT_EQ(info.frameId, 17U);
    EXPECT_EQ(info.componentId, 3U);
    EXPECT_STREQ(info.name, "bridge");
    EXPECT_STREQ(info.description, "beside the router");

    const auto router = TypeSupport<MacroRouter>::toBus(Sample<MacroRouter>::value());
    EXPECT_STREQ(router.routerPartition, "R1");
    EXPECT_STREQ(router.name, "Main");
    EXPECT_EQ(router.topology, com_tallowcrest_dds__routing_T576x288);

    const auto member = TypeSupport<RouterMember>::toBus(Sample<RouterMember>::value());
    EXPECT_EQ(member.frameId, 17U);
    EXPECT_STREQ(member.routerPartition, "R1");
    EXPECT_EQ(member.memberIndex, 2U);

    const auto output = TypeSupport<MacroXptOutput>::toBus(Sample<MacroXptOutput>::value());
    EXPECT_EQ(output.macroXptOutput, 7U);
    EXPECT_EQ(output.macroXptInput, 8U);
    EXPECT_EQ(output.when, 33554432U);
    EXPECT_EQ(output.lprId, 42U);
    EXPECT_EQ(output.lprState, com_tallowcrest_dds__routing_LPR_PROTECTED);

    const auto level = TypeSupport<MacroLevel>::toBus(Sample<MacroLevel>::value());
    EXPECT_EQ(level.levelId, 3U);
    EXPECT_EQ(level.levelSignalType, com_tallowcrest_dds__routing_LST_Audio);
    EXPECT_EQ(level.macroXptInputStart, 1U);
    EXPECT_EQ(level.numMacroXptInputs, 2U);
    EXPECT_EQ(level.controllerInputStart, 4U);
    EXPECT_EQ(level.macroXptOutputStart, 5U);
    EXPECT_EQ(level.numMacroXptOutputs, 6U);
    EXPECT_EQ(level.controllerOutputStart, 7U);

    const auto ranges = TypeSupport<RouterMemberMacroXpts>::toBus(Sample<RouterMemberMacroXpts>::value());
    EXPECT_EQ(ranges.memberIndex, 8U);
    EXPECT_EQ(ranges.macroXptInputStart, 9U);
    EXPECT_EQ(ranges.numMacroXptInputs, 10U);
    EXPECT_EQ(ranges.macroXptOutputStart, 11U);
    EXPECT_EQ(ranges.numMacroXptOutputs, 12U);
}

TEST(TypeSupport, ANumberThatNoEnumeratorHasPassesThrough)
{
    EXPECT_EQ(static_cast<std::uint32_t>(roundTrip(MacroXptOutput{1, 1, 1, 1, static_cast<LPRState>(77)}).lprState),
              77U);

    TypeSupport<MacroLevel>::BusType bus{};
    const std::uint32_t unknown = 4294967295;
    std::memcpy(&bus.levelSignalType, &unknown, sizeof(unknown));
    EXPECT_EQ(static_cast<std::uint32_t>(TypeSupport<MacroLevel>::fromBus(bus).levelSignalType), unknown);
}
