#pragma once

#include <memory>
#include <utility>

#include "bustypes/RoutingTypes.h"
#include "buswrappers/ComponentInfoPub.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

namespace com::tallowcrest::routing
{

/// Writes one component record on the apartment. Owned by the apartment's queue. Does nothing when the publisher is
/// gone; an exception of the write goes to the apartment.
class ComponentInfoPubDoItPublish final : public util::Pooled<ComponentInfoPubDoItPublish, apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "ComponentInfoPubDoItPublish";

    ComponentInfoPubDoItPublish(std::weak_ptr<ComponentInfoPub> publisher, dds_::routing::ComponentInfo info)
        : m_publisher(std::move(publisher)), m_info(std::move(info))
    {}

    void doIt() override
    {
        if (const auto publisher = m_publisher.lock())
        {
            publisher->write(m_info);
        }
    }

private:
    std::weak_ptr<ComponentInfoPub> m_publisher;
    dds_::routing::ComponentInfo m_info;
};

} // namespace com::tallowcrest::routing
