#pragma once

#include "dds/core/Reference.hpp"
#include "dds/core/policy/CorePolicy.hpp"

#include <array>
#include <cstdint>
#include <string>

// What the bus tells of who is on it. Plain values.

namespace dds::topic
{

/// Names a participant on the whole bus, the same wherever it is seen.
using BuiltinTopicKey = std::array<std::uint8_t, 16>;

struct ParticipantBuiltinTopicData
{
    BuiltinTopicKey key{};
};

/// Of a writer.
struct PublicationBuiltinTopicData
{
    BuiltinTopicKey participant{};
    std::string topicName;
};

} // namespace dds::topic

namespace dds::pub
{

/// What a writer knows of a reader that it has matched.
struct MatchedSubscription
{
    core::InstanceHandle handle;
    topic::BuiltinTopicKey participant{};
    core::policy::Durability durability;
    core::policy::UserData userData;
};

} // namespace dds::pub

namespace dds::sub
{

/// What a reader knows of a writer that it has matched. Samples carry the same handle.
struct MatchedPublication
{
    core::InstanceHandle handle;
    topic::BuiltinTopicKey participant{};
};

} // namespace dds::sub
