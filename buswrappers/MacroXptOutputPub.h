#pragma once

#include <string>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"

namespace com::tallowcrest::routing
{

/// Writes crosspoint outputs: targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputPub : public TopicPub<dds_::routing::MacroXptOutput>
{
public:
    MacroXptOutputPub(std::string topicName, bool durable) : TopicPub(std::move(topicName), durabilityKind(durable)) {}
};

} // namespace com::tallowcrest::routing
