#pragma once

#include <string_view>

namespace com::tallowcrest::misc
{

/// Prints a text of any length to the console line by line, because the console cuts one print at a fixed length.
void printLines(std::string_view text);

} // namespace com::tallowcrest::misc
