#pragma once

#include <string>
#include <string_view>

namespace com::tallowcrest::util
{

/// Text that comes from outside as it may be logged and printed: one line that tells a terminal nothing but what to
/// draw. Printable ASCII and what UTF-8 draws stay as they are. Every other byte is written out: "\n", "\r" and "\t",
/// else "\x1b". So are characters that draw nothing or reverse what stands beside them, and bytes that are no UTF-8.
/// Text that has been through it once stays as it is.
std::string visibleText(std::string_view text);

/// Whether `visibleText` leaves the text as it is.
bool isVisibleText(std::string_view text);

/// Whether every byte is ASCII that draws something, or a space.
bool isPrintableAscii(std::string_view text);

} // namespace com::tallowcrest::util
