#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace com::tallowcrest::routing
{

/// The topics of the bridge; the values index `topicNames`.
enum class TopicName : std::size_t
{
    ComponentInfoKoraBridge = 0,
    RouterMemberMacroXptsDxAudio = 1,
    MacroXptOutputAudioTarget = 2,
    RouterMemberMacroXptsDxVideo = 3,
    MacroXptOutputVideoTarget = 4,
    MacroXptOutputAudioStatus = 5,
    MacroXptOutputVideoStatus = 6,
    MacroXptOutputVideoLocalTarget = 7,
    MacroXptOutputAudioLocalTarget = 8,
    MacroLevel = 9,
    RouterMember = 10
};

inline constexpr std::array<const char*, 11> topicNames = {
    "TopicComponentInfoKoraBridge",
    "TopicRouterMemberMacroXptsDxAudio",
    "TopicMacroXptOutputAudioTarget",
    "TopicRouterMemberMacroXptsDxVideo",
    "TopicMacroXptOutputVideoTarget",
    "TopicMacroXptOutputAudioStatus",
    "TopicMacroXptOutputVideoStatus",
    "TopicMacroXptOutputVideoLocalTarget",
    "TopicMacroXptOutputAudioLocalTarget",
    "TopicMacroLevel",
    "TopicRouterMember",
};

constexpr const char* topicName(TopicName topic)
{
    return topicNames[static_cast<std::size_t>(topic)];
}

/// The bus partition of a router partition; the empty one gives the bare prefix.
inline std::string partitionName(const std::string& routerPartition)
{
    return "com:tallowcrest:routing:" + routerPartition;
}

} // namespace com::tallowcrest::routing
