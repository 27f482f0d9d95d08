#include "buswrappers/ComponentInfoPub.h"

#include "bustypes/BoundedString.h"
#include "runtime/util/Log.h"

#include <utility>

namespace com::tallowcrest::routing
{

using dds_::routing::ComponentId;
using dds_::routing::ComponentInfo;
using dds_::routing::FrameId;

namespace
{

/// `text` as the bus carries it; a WARN when that is not all of it.
std::string fitted(const log4cxx::LoggerPtr& logger, const char* what, const std::string& text, std::size_t bound)
{
    std::string cut(dds_::routing::cutToBound(text, bound));
    if (cut.size() < text.size())
    {
        LOG_WARN_F(logger, "component %s is longer than %zu bytes, truncated to '%s'", what, bound, cut.c_str());
    }
    return cut;
}

} // namespace

ComponentInfoPub::ComponentInfoPub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
    : m_apartment(std::move(apartment)), m_logger(util::bridgeLogger()),
      m_pub(std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL), m_presence(*this)
{
    m_pub.joinRouterPartition("");
}

void ComponentInfoPub::publish(FrameId frameId, ComponentId componentId, const std::string& name,
                               const std::string& description)
{
    ComponentInfo info{frameId, componentId, fitted(m_logger, "name", name, dds_::routing::componentNameBound),
                       fitted(m_logger, "description", description, dds_::routing::componentDescriptionBound)};
    apartment::post(*m_apartment, std::make_unique<ComponentInfoPubDoItPublish>(m_presence.weak(), std::move(info)));
}

void ComponentInfoPub::withdraw(FrameId frameId, ComponentId componentId, const std::string& name,
                                const std::string& description)
{
    m_pub.unregisterInstance(ComponentInfo{frameId, componentId, name, description});
}

void ComponentInfoPub::write(const ComponentInfo& info)
{
    m_pub.write(info);
}

} // namespace com::tallowcrest::routing
