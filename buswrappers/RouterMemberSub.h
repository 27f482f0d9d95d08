#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicSub.h"

namespace com::tallowcrest::routing
{

/// Reads which router each frame is a member of. TRANSIENT_LOCAL.
class RouterMemberSub : public TopicSub<dds_::routing::RouterMember>
{
public:
    RouterMemberSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
    {}
};

} // namespace com::tallowcrest::routing
