#pragma once

#include "durability/Decision.h"

#include <cstddef>
#include <string>

namespace com::tallowcrest::durability
{

/// What the keeping of data must know of a data type, which has one key member, of 32 bits. Values are handed over as
/// their bytes, so they hold no pointers. The functions are thread-safe. One object per type, for the life of the
/// process.
struct TypeCodec
{
    const char* typeName;
    std::size_t valueSize;
    Instance (*instanceOf)(const void* value);
    /// A value as text that people can read, the same on every machine: the content of its decision.
    std::string (*contentOf)(const void* value);
    /// Makes of a text what `contentOf` makes of its value; false when it is no value of this type and instance.
    bool (*normalize)(std::string& content, Instance instance);
    ContentRules rules;
};

} // namespace com::tallowcrest::durability
