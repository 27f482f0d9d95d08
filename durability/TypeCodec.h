#pragma once

#include <dds/dds.h>

#include <cstddef>
#include <string>

namespace com::tallowcrest::durability
{

/// What the keeping of data must know of a data type. Samples are the type's C form on the bus, which holds no
/// pointers, so a copy of its bytes is a copy of the sample. The functions are thread-safe. One object per type, for
/// the life of the process.
struct TypeCodec
{
    const dds_topic_descriptor_t* descriptor;
    std::size_t sampleSize;
    const char* typeName;
    /// The instance of a sample: the same text for the same instance on every machine.
    std::string (*instanceText)(const void* sample);
    /// A sample as text that people and `parse` can read.
    std::string (*payloadText)(const void* sample);
    /// Fills `sample` from a text; false when the text is not of this type.
    bool (*parse)(const std::string& payload, void* sample);
    /// True when both samples say the same of the same instance, whenever it takes effect.
    bool (*sameButWhen)(const void* left, const void* right);
};

} // namespace com::tallowcrest::durability
