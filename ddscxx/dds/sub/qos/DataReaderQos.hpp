#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"
#include "dds/topic/qos/TopicQos.hpp"

namespace dds::sub::qos
{

class DataReaderQos : public core::EntityQos<DataReaderQos, core::policy::Durability, core::policy::Reliability,
                                             core::policy::UserData, core::policy::IgnoreLocal>
{
public:
    DataReaderQos() = default;
    /// A reader's QoS made from its topic's.
    DataReaderQos(const topic::qos::TopicQos& topic)
    {
        policy(topic.policy<core::policy::Durability>());
        policy(topic.policy<core::policy::Reliability>());
    }
};

} // namespace dds::sub::qos
