#include "runtime/util/SystemError.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace com::tallowcrest::util
{

std::string systemErrorText(int errorNumber)
{
    std::array<char, 128> buffer{};
    return strerror_r(errorNumber, buffer.data(), buffer.size());
}

std::string systemErrorText()
{
    return systemErrorText(errno);
}

} // namespace com::tallowcrest::util
