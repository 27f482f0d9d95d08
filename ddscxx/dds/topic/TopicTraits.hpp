#pragma once

#include <type_traits>
#include <utility>

namespace dds::topic
{

/// What the DDS interface needs to know of a data type: its C struct `BusType`, its `descriptor()`, and the conversions
/// `toBus` and `fromBus`. The namespace of the type says which class that is, with a declaration
///   `TypeSupport<T> type_support_of(std::type_identity<T>)`.
template <typename T>
using topic_type_support = decltype(type_support_of(std::type_identity<T>()));

} // namespace dds::topic
