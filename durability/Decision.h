#pragma once

#include "durability/SourceTime.h"

#include <cstdint>
#include <string>

namespace com::tallowcrest::durability
{

/// The key of an instance: the one 32-bit key member of the data type.
using Instance = std::uint32_t;

/// What was decided of one instance: the sample as it went onto the bus, and when it was written there by its author.
/// Published again it keeps its time, so it sorts where it belongs. A plain value.
struct Decision
{
    SourceTime written = 0;
    std::string content; ///< the bytes of the sample
};

/// What the core has to know of contents. Both leave out what is not part of the decision, such as when it takes
/// effect.
struct ContentRules
{
    /// Below 0, 0 or above 0; the same on every machine. 0 when both say the same.
    int (*order)(const std::string& left, const std::string& right);
    /// A number for each content, the same on every machine, for contents that say the same.
    std::uint64_t (*digest)(const std::string& content);
};

} // namespace com::tallowcrest::durability
