#include "runtime/util/Log.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace com::tallowcrest::util
{

void printUnlogged(const char* reason, const char* format, ...) noexcept
{
    std::array<char, logLineSize> line{};
    std::va_list arguments;
    va_start(arguments, format);
    static_cast<void>(std::vsnprintf(line.data(), line.size(), format, arguments));
    va_end(arguments);
    static_cast<void>(std::fprintf(stderr, "%s (not logged: %s)\n", line.data(), reason));
}

std::string formatText(const char* format, ...)
{
    std::array<char, logLineSize> text{};
    va_list arguments;
    va_start(arguments, format);
    static_cast<void>(std::vsnprintf(text.data(), text.size(), format, arguments));
    va_end(arguments);
    return text.data();
}

} // namespace com::tallowcrest::util
