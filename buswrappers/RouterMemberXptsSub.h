#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicSub.h"

namespace com::tallowcrest::routing
{

/// Reads the crosspoint ranges that the member frames of a router offer. TRANSIENT_LOCAL.
class RouterMemberXptsSub : public TopicSub<dds_::routing::RouterMemberMacroXpts>
{
public:
    RouterMemberXptsSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {}
};

} // namespace com::tallowcrest::routing
