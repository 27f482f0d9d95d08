#pragma once

#include "dds/core/Reference.hpp"
#include "dds/core/policy/CorePolicy.hpp"

namespace dds::pub
{

/// What a writer knows of a reader that it has matched. A plain value.
struct MatchedSubscription
{
    core::InstanceHandle handle;
    core::policy::Durability durability;
    core::policy::UserData userData;
};

} // namespace dds::pub
