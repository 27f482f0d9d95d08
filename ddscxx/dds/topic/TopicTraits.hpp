#pragma once

#include "bustypes/TypeSupport.h"

namespace dds::topic
{

/// What the DDS interface needs to know of a data type: its C struct, name, descriptor and conversions.
template <typename T>
using topic_type_support = com::tallowcrest::dds_::routing::TypeSupport<T>;

} // namespace dds::topic
