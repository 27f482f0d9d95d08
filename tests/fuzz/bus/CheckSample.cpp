#include "tests/fuzz/bus/CheckSample.h"

#include "bustypes/SampleCheck.h"
#include "bustypes/SampleText.h"
#include "bustypes/TypeSupport.h"
#include "ddskorabridge/MacroXptAvailable.h"
#include "ddskorabridge/MacroXptTable.h"
#include "ddskorabridge/Mapping.h"
#include "runtime/util/VisibleText.h"
#include "tests/fuzz/support/Require.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace fuzz
{

namespace
{

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::util::isVisibleText;
using com::tallowcrest::util::visibleText;

constexpr std::uint64_t beyond = std::uint64_t{1} << 32U;

/// Fills the struct as the DDS library may leave it: strings end within their arrays, enumerators are any number.
template <typename T>
typename TypeSupport<T>::BusType nextBus(Feed& feed)
{
    typename TypeSupport<T>::BusType bus{};
    visitMembers<T>([&](const auto& member) {
        auto& place = bus.*member.inBus;
        using Place = std::remove_reference_t<decltype(place)>;
        if constexpr (std::is_array_v<Place>)
        {
            copyToBus(feed.text(), place);
        }
        else
        {
            const std::uint32_t number = feed.number();
            std::memcpy(&place, &number, sizeof place);
        }
    });
    return bus;
}

/// A sample's texts, which leave the bridge on its console, in its log and in its store.
template <typename T>
void checkTexts(const T& value)
{
    T parsed;
    const std::string json = jsonText(value);
    if (parseJson(json, parsed))
    {
        require(jsonText(parsed) == json, "what was parsed is written as it was");
    }
    constexpr bool hasStrings = !std::is_trivially_copyable_v<T>;
    require(hasStrings || parsed == value, "numbers always come back");
    const std::string shown = visibleText(keyText(value));
    require(isVisibleText(shown) && visibleText(shown) == shown, "what is shown is drawn, however often");
}

void checkGated(const ComponentInfo& sample)
{
    require(isVisibleText(sample.name + sample.description), "names are drawn");
}

void checkPartition(const std::string& partition)
{
    for (const char c : partition)
    {
        require(c >= ' ' && c <= '~' && c != '*' && c != '?' && c != '[', "a partition is the name of one");
    }
}

void checkGated(const MacroRouter& sample)
{
    require(isVisibleText(sample.name), "names are drawn");
    checkPartition(sample.routerPartition);
}

void checkGated(const RouterMember& sample)
{
    checkPartition(sample.routerPartition);
}

void checkGated(const MacroXptOutput& sample)
{
    constexpr std::uint32_t maxOutput = 2304;
    static MacroXptTable table(maxOutput);
    require(table.contains(sample.macroXptOutput) == (sample.macroXptOutput <= maxOutput), "a table ends");
    if (table.contains(sample.macroXptOutput))
    {
        table.store(sample);
        require(table.record(sample.macroXptOutput) == sample, "a table keeps what it is given");
        const std::string text = table.text("R1", sample.macroXptOutput, sample.macroXptOutput);
        std::string oneLine = text;
        std::replace(oneLine.begin(), oneLine.end(), '\n', ' ');
        require(isVisibleText(oneLine), "a table is drawn");
    }
}

void checkGated(const MacroLevel& sample)
{
    constexpr std::uint32_t largest = 73728;
    require(sample.numMacroXptOutputs >= 1 && sample.numMacroXptOutputs <= largest, "a level is bounded");
    const Mapping mapping({.numXptsPer = 1,
                           .xptInputStart = sample.macroXptInputStart,
                           .numXptInputs = sample.numMacroXptInputs,
                           .controllerInputStart = sample.controllerInputStart,
                           .xptOutputStart = sample.macroXptOutputStart,
                           .numXptOutputs = sample.numMacroXptOutputs,
                           .controllerOutputStart = sample.controllerOutputStart});
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{sample.numMacroXptOutputs} - 1})
    {
        const std::uint64_t xpt = sample.macroXptOutputStart + offset;
        const std::uint64_t number = sample.controllerOutputStart + offset;
        require(xpt < beyond && number < beyond, "a block ends within the numbers");
        const auto there = mapping.controllerOutputToXpt(static_cast<std::uint32_t>(number));
        require(there == static_cast<std::uint32_t>(xpt), "an output of a level has a crosspoint");
        require(mapping.xptOutputToController(*there) == static_cast<std::uint32_t>(number), "and the way back");
    }
}

void checkGated(const RouterMemberMacroXpts& sample)
{
    MacroXptAvailable sut;
    sut.add(sample);
    const std::uint64_t end = std::uint64_t{sample.macroXptOutputStart} + sample.numMacroXptOutputs;
    require(end <= beyond, "a block ends within the numbers");
    require(sut.isOutputAvailable(sample.macroXptOutputStart) == (sample.numMacroXptOutputs > 0), "a block begins");
    require(sample.macroXptOutputStart == 0 || !sut.isOutputAvailable(sample.macroXptOutputStart - 1), "there");
    require(end == beyond || !sut.isOutputAvailable(static_cast<std::uint32_t>(end)), "and ends");
    sut.remove(sample);
    require(!sut.isOutputAvailable(sample.macroXptOutputStart), "a member goes with its block");
}

template <typename T>
void check(Feed& feed)
{
    const T value = TypeSupport<T>::fromBus(nextBus<T>(feed));
    require(TypeSupport<T>::fromBus(TypeSupport<T>::toBus(value)) == value, "a value passes over the bus and back");
    checkTexts(value);
    if (faultOf(value).empty())
    {
        checkGated(value);
    }
    T parsed;
    if (parseJson(feed.text(), parsed))
    {
        checkTexts(parsed);
    }
}

} // namespace

void checkSample(Feed& feed)
{
    constexpr std::array checks{&check<ComponentInfo>,  &check<MacroRouter>, &check<RouterMember>,
                                &check<MacroXptOutput>, &check<MacroLevel>,  &check<RouterMemberMacroXpts>};
    checks[feed.upTo(checks.size() - 1)](feed);
}

} // namespace fuzz
