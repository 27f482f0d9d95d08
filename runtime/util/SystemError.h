#pragma once

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

namespace com::tallowcrest::util
{

/// The system's text for an error number (as `strerror`, but thread-safe).
inline std::string systemErrorText(int errorNumber)
{
    std::array<char, 128> buffer{};
    return strerror_r(errorNumber, buffer.data(), buffer.size());
}

/// The same for the calling thread's current `errno`.
inline std::string systemErrorText()
{
    return systemErrorText(errno);
}

} // namespace com::tallowcrest::util
