#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "bustypes/TypeSupport.h"

using namespace com::tallowcrest::dds_::routing;

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

TEST(TypeSupport, NamesTheTypesAsTheDescriptorsDo)
{
    EXPECT_EQ(TypeSupport<ComponentInfo>::typeName, describe<ComponentInfo>().typeName);
    EXPECT_EQ(TypeSupport<MacroRouter>::typeName, describe<MacroRouter>().typeName);
    EXPECT_EQ(TypeSupport<RouterMember>::typeName, describe<RouterMember>().typeName);
    EXPECT_EQ(TypeSupport<MacroXptOutput>::typeName, describe<MacroXptOutput>().typeName);
    EXPECT_EQ(TypeSupport<MacroLevel>::typeName, describe<MacroLevel>().typeName);
    EXPECT_EQ(TypeSupport<RouterMemberMacroXpts>::typeName, describe<RouterMemberMacroXpts>().typeName);
}

TEST(TypeSupport, ComponentInfoComesBackUnchanged)
{
    const ComponentInfo info{7, 4294967295, std::string(32, 'n'), std::string(128, 'd')};

    const ComponentInfo back = roundTrip(info);

    EXPECT_EQ(back.frameId, 7U);
    EXPECT_EQ(back.componentId, 4294967295U);
    EXPECT_EQ(back.name, info.name);
    EXPECT_EQ(back.description, info.description);
}

TEST(TypeSupport, StringsOverTheirBoundAreCut)
{
    const ComponentInfo back = roundTrip(ComponentInfo{1, 2, std::string(33, 'n'), std::string(129, 'd')});

    EXPECT_EQ(back.name, std::string(32, 'n'));
    EXPECT_EQ(back.description, std::string(128, 'd'));
    EXPECT_EQ(roundTrip(RouterMember{1, std::string(17, 'p'), 0}).routerPartition, std::string(16, 'p'));
}

TEST(TypeSupport, MacroRouterComesBackUnchanged)
{
    const MacroRouter back = roundTrip(MacroRouter{"0123456789abcdef", "main", T1728x288});

    EXPECT_EQ(back.routerPartition, "0123456789abcdef");
    EXPECT_EQ(back.name, "main");
    EXPECT_EQ(back.topology, T1728x288);
}

TEST(TypeSupport, RouterMemberComesBackUnchanged)
{
    const RouterMember back = roundTrip(RouterMember{12, "R1", 65535});

    EXPECT_EQ(back.frameId, 12U);
    EXPECT_EQ(back.routerPartition, "R1");
    EXPECT_EQ(back.memberIndex, 65535U);
}

TEST(TypeSupport, MacroXptOutputComesBackUnchanged)
{
    const MacroXptOutput back = roundTrip(MacroXptOutput{1, 4294967295, 3, 4, LPR_LOCKED});

    EXPECT_EQ(back.macroXptOutput, 1U);
    EXPECT_EQ(back.macroXptInput, 4294967295U);
    EXPECT_EQ(back.when, 3U);
    EXPECT_EQ(back.lprId, 4U);
    EXPECT_EQ(back.lprState, LPR_LOCKED);
}

TEST(TypeSupport, MacroLevelComesBackUnchanged)
{
    const MacroLevel back = roundTrip(MacroLevel{1, LST_Audio, 2, 3, 4, 5, 6, 7});

    EXPECT_EQ(back.levelId, 1U);
    EXPECT_EQ(back.levelSignalType, LST_Audio);
    EXPECT_EQ(back.macroXptInputStart, 2U);
    EXPECT_EQ(back.numMacroXptInputs, 3U);
    EXPECT_EQ(back.controllerInputStart, 4U);
    EXPECT_EQ(back.macroXptOutputStart, 5U);
    EXPECT_EQ(back.numMacroXptOutputs, 6U);
    EXPECT_EQ(back.controllerOutputStart, 7U);
}

TEST(TypeSupport, RouterMemberMacroXptsComesBackUnchanged)
{
    const RouterMemberMacroXpts back = roundTrip(RouterMemberMacroXpts{1, 2, 3, 4, 5});

    EXPECT_EQ(back.memberIndex, 1U);
    EXPECT_EQ(back.macroXptInputStart, 2U);
    EXPECT_EQ(back.numMacroXptInputs, 3U);
    EXPECT_EQ(back.macroXptOutputStart, 4U);
    EXPECT_EQ(back.numMacroXptOutputs, 5U);
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
