#pragma once

#include "durability/SourceTime.h"

#include <string>
#include <utility>

namespace com::tallowcrest::durability
{

/// Names one set of durable instances: a topic in a partition.
struct ChannelName
{
    std::string partition;
    std::string topic;

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 misreads the defaulted comparison
    auto operator<=>(const ChannelName&) const = default;
};

/// The newest sample of one instance as the store keeps it: text throughout.
struct StoredRow
{
    ChannelName channel;
    std::string instance;
    std::string type;
    SourceTime written = 0;
    std::string payload;

    bool operator==(const StoredRow&) const = default;
};

} // namespace com::tallowcrest::durability
