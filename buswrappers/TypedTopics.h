#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"
#include "buswrappers/TopicSub.h"

#include <memory>
#include <string>
#include <utility>

// The readers and writers that the bridge has, one for each type and direction. The topic's name is given by whoever
// makes one.

namespace com::tallowcrest::routing
{

/// Reads level descriptions. TRANSIENT_LOCAL.
class MacroLevelSub : public TopicSub<dds_::routing::MacroLevel>
{
public:
    MacroLevelSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {}
};

/// Reads which router each frame is a member of. TRANSIENT_LOCAL.
class RouterMemberSub : public TopicSub<dds_::routing::RouterMember>
{
public:
    RouterMemberSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {}
};

/// Reads the crosspoint ranges that the member frames of a router offer. TRANSIENT_LOCAL.
class RouterMemberXptsSub : public TopicSub<dds_::routing::RouterMemberMacroXpts>
{
public:
    RouterMemberXptsSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {}
};

/// Reads crosspoint outputs: status, targets or local targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputSub : public TopicSub<dds_::routing::MacroXptOutput>
{
public:
    MacroXptOutputSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName, bool durable)
        : TopicSub(std::move(apartment), std::move(topicName), durabilityKind(durable))
    {}
};

/// Writes crosspoint outputs: targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputPub : public TopicPub<dds_::routing::MacroXptOutput>
{
public:
    MacroXptOutputPub(std::string topicName, bool durable) : TopicPub(std::move(topicName), durabilityKind(durable)) {}
};

} // namespace com::tallowcrest::routing
