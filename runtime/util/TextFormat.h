#pragma once

#include <string>

namespace com::tallowcrest::util
{

/// printf-style text of at most 199 characters, the size of a log line; longer text is cut.
[[gnu::format(printf, 1, 2)]] std::string formatText(const char* format, ...);

} // namespace com::tallowcrest::util
