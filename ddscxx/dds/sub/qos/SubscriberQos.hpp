#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"

namespace dds::sub::qos
{

class SubscriberQos : public core::EntityQos<SubscriberQos, core::policy::Partition>
{};

} // namespace dds::sub::qos
