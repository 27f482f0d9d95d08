#include "tools/korasim/RouterEnds.h"

#include "bustypes/TopicNames.h"

namespace korasim
{

using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;

namespace
{
constexpr auto durability = dds::core::policy::DurabilityKind::TRANSIENT_LOCAL;
}

RouterWriters::RouterWriters(const std::string& partition)
    : m_member(topicName(TopicName::RouterMember), durability), m_level(topicName(TopicName::MacroLevel), durability),
      m_videoRanges(topicName(TopicName::RouterMemberMacroXptsDxVideo), durability),
      m_audioRanges(topicName(TopicName::RouterMemberMacroXptsDxAudio), durability),
      m_videoStatus(topicName(TopicName::MacroXptOutputVideoStatus), durability),
      m_audioStatus(topicName(TopicName::MacroXptOutputAudioStatus), durability),
      m_videoLocalTarget(topicName(TopicName::MacroXptOutputVideoLocalTarget), durability),
      m_audioLocalTarget(topicName(TopicName::MacroXptOutputAudioLocalTarget), durability)
{
    m_member.joinRouterPartition("");
    moveTo(partition);
}

void RouterWriters::moveTo(const std::string& partition)
{
    m_level.joinRouterPartition(partition);
    m_videoRanges.joinRouterPartition(partition);
    m_audioRanges.joinRouterPartition(partition);
    m_videoStatus.joinRouterPartition(partition);
    m_audioStatus.joinRouterPartition(partition);
    m_videoLocalTarget.joinRouterPartition(partition);
    m_audioLocalTarget.joinRouterPartition(partition);
}

} // namespace korasim
