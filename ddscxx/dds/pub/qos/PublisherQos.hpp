#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/policy/CorePolicy.hpp"

namespace dds::pub::qos
{

class PublisherQos : public core::EntityQos<PublisherQos, core::policy::Partition>
{};

} // namespace dds::pub::qos
