#pragma once

#include "dds/core/EntityQos.hpp"

namespace dds::domain::qos
{

/// Nothing of it is set by this project: the deployment's configuration decides.
class DomainParticipantQos : public core::EntityQos<DomainParticipantQos>
{};

} // namespace dds::domain::qos
