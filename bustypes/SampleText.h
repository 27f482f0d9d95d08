#pragma once

#include <string>

#include "bustypes/RoutingTypes.h"

/// Bus values as text that people can read and that is the same on every machine. Defined for the six bus types.
namespace com::tallowcrest::dds_::routing
{

/// The key members of a value, separated by commas: "7", "17,3".
template <typename T>
std::string keyText(const T& value);

/// All members of a value as one JSON object, in the order of the IDL; enumerators are numbers.
template <typename T>
std::string jsonText(const T& value);

/// Reads what `jsonText` wrote; members that are not named are left out of the reading. False, and `value` is as it
/// was, when the text is no JSON object, a member is missing, of another type, out of range or over its bound.
template <typename T>
bool parseJson(const std::string& text, T& value);

/// True when both say the same of the same instance, whenever it takes effect.
template <typename T>
bool sameButWhen(const T& left, const T& right);

} // namespace com::tallowcrest::dds_::routing
