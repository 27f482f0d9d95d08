#include "bustypes/SampleCheck.h"

#include "runtime/util/VisibleText.h"

#include <limits>

namespace com::tallowcrest::dds_::routing
{

namespace
{

using util::isPrintableAscii;
using util::isVisibleText;

/// True when the last number of the block is still a number.
constexpr bool isBlock(std::uint32_t start, std::uint32_t count)
{
    return count == 0 || count - 1 <= std::numeric_limits<std::uint32_t>::max() - start;
}

} // namespace

std::string_view faultOfPartition(std::string_view routerPartition)
{
    if (!isPrintableAscii(routerPartition))
    {
        return fault::partitionText;
    }
    // The bus would take it for a pattern that other routers' partitions match.
    return routerPartition.find_first_of("*?[") == std::string_view::npos ? "" : fault::wildcard;
}

std::string_view faultOf(const ComponentInfo& sample)
{
    return isVisibleText(sample.name) && isVisibleText(sample.description) ? "" : fault::name;
}

std::string_view faultOf(const MacroRouter& sample)
{
    if (!isVisibleText(sample.name))
    {
        return fault::name;
    }
    return sample.topology > T1728x288 ? fault::topology : faultOfPartition(sample.routerPartition);
}

std::string_view faultOf(const RouterMember& sample)
{
    return faultOfPartition(sample.routerPartition);
}

std::string_view faultOf(const MacroXptOutput&)
{
    return {};
}

std::string_view faultOf(const MacroLevel& sample)
{
    if (!isLevelSize(sample.numMacroXptOutputs))
    {
        return fault::levelSize;
    }
    const bool areBlocks = isBlock(sample.macroXptInputStart, sample.numMacroXptInputs) &&
                           isBlock(sample.controllerInputStart, sample.numMacroXptInputs) &&
                           isBlock(sample.macroXptOutputStart, sample.numMacroXptOutputs) &&
                           isBlock(sample.controllerOutputStart, sample.numMacroXptOutputs);
    return areBlocks ? "" : fault::beyondNumbers;
}

std::string_view faultOf(const RouterMemberMacroXpts& sample)
{
    const bool areBlocks = isBlock(sample.macroXptInputStart, sample.numMacroXptInputs) &&
                           isBlock(sample.macroXptOutputStart, sample.numMacroXptOutputs);
    return areBlocks ? "" : fault::beyondNumbers;
}

} // namespace com::tallowcrest::dds_::routing
