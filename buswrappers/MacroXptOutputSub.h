#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicSub.h"

namespace com::tallowcrest::routing
{

/// Reads crosspoint outputs: status, targets or local targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputSub : public TopicSub<dds_::routing::MacroXptOutput>
{
public:
    MacroXptOutputSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName, bool durable)
        : TopicSub(std::move(apartment), std::move(topicName), durabilityKind(durable))
    {}
};

} // namespace com::tallowcrest::routing
