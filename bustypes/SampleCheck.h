#pragma once

#include "bustypes/RoutingTypes.h"

#include <cstdint>
#include <string_view>

/// What every sample is held against before anything of it is kept, logged or printed: numbers that cannot be, and
/// texts that are more than text. Whether a reader has a place for a sample's instance is that reader's to say.
namespace com::tallowcrest::dds_::routing
{

/// The outputs of the largest router; no level has more.
inline constexpr std::uint32_t largestLevel = 73728;

constexpr bool isLevelSize(std::uint32_t numOutputs)
{
    return numOutputs >= 1 && numOutputs <= largestLevel;
}

/// All that can be wrong with a sample.
namespace fault
{
inline constexpr std::string_view partitionText = "the partition is not printable ASCII";
inline constexpr std::string_view wildcard = "the partition holds a wildcard";
inline constexpr std::string_view name = "a name is not printable";
inline constexpr std::string_view topology = "no such topology";
inline constexpr std::string_view levelSize = "no outputs, or more than the largest router has";
inline constexpr std::string_view beyondNumbers = "a block ends beyond the greatest number";
} // namespace fault

/// What is wrong with the name of a router's partition; empty when nothing is. The empty name is sound: it is that of
/// no router.
std::string_view faultOfPartition(std::string_view routerPartition);

// What is wrong with a sample, one of `fault`; empty when nothing is. Any thread.
std::string_view faultOf(const ComponentInfo& sample);
std::string_view faultOf(const MacroRouter& sample);
std::string_view faultOf(const RouterMember& sample);
/// Each of its numbers has a meaning: what is no input means that there is none, what is no lock state is none.
std::string_view faultOf(const MacroXptOutput& sample);
std::string_view faultOf(const MacroLevel& sample);
std::string_view faultOf(const RouterMemberMacroXpts& sample);

} // namespace com::tallowcrest::dds_::routing
