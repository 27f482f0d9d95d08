#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"

namespace dds::topic::qos
{

class TopicQos : public core::EntityQos<TopicQos, core::policy::Durability, core::policy::Reliability>
{};

} // namespace dds::topic::qos
