#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicSub.h"

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

} // namespace com::tallowcrest::routing
