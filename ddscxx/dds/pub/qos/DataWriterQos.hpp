#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"
#include "dds/topic/qos/TopicQos.hpp"

namespace dds::pub::qos
{

class DataWriterQos : public core::EntityQos<DataWriterQos, core::policy::Durability, core::policy::Reliability,
                                             core::policy::WriterDataLifecycle>
{
public:
    /// The standard's defaults: as a topic's, but RELIABLE.
    DataWriterQos() { policy(core::policy::Reliability::Reliable()); }
    /// A writer's QoS made from its topic's.
    DataWriterQos(const topic::qos::TopicQos& topic)
    {
        policy(topic.policy<core::policy::Durability>());
        policy(topic.policy<core::policy::Reliability>());
    }
};

} // namespace dds::pub::qos
