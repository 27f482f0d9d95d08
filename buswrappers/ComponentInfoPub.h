#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Presence.h"
#include "runtime/util/Pooled.h"

#include <log4cxx/logger.h>

#include <memory>
#include <string>
#include <utility>

namespace com::tallowcrest::routing
{

/// Announces this bridge on the bus as a component: one `ComponentInfo` record, in the bare partition, because it is
/// bound to no router. Owned by the Director, made after the apartment. Exceptions of the DDS interface pass through.
class ComponentInfoPub
{
public:
    /// Makes the writer at once. Any thread.
    ComponentInfoPub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName);

    /// Posts the record to the apartment, which writes it. A name over 32 or a description over 128 bytes is cut for
    /// the bus, with one WARN each. Any thread.
    void publish(dds_::routing::FrameId frameId, dds_::routing::ComponentId componentId, const std::string& name,
                 const std::string& description);

    /// Gives the record up on the caller's thread: readers see it lose its writer, it is not disposed. Nothing when it
    /// was never written.
    void withdraw(dds_::routing::FrameId frameId, dds_::routing::ComponentId componentId, const std::string& name,
                  const std::string& description);

    /// Writes a record. On the apartment, by `ComponentInfoPubDoItPublish`.
    void write(const dds_::routing::ComponentInfo& info);

private:
    const std::shared_ptr<apartment::SendDoItEvent> m_apartment;
    const log4cxx::LoggerPtr m_logger;
    TopicPub<dds_::routing::ComponentInfo> m_pub;
    const apartment::Presence<ComponentInfoPub> m_presence; ///< for events
};

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
