#pragma once

#include <string>

namespace com::tallowcrest::util
{

/// The system's text for an error number (as `strerror`, but thread-safe).
std::string systemErrorText(int errorNumber);

/// The same for the calling thread's current `errno`.
std::string systemErrorText();

} // namespace com::tallowcrest::util
