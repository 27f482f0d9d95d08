#include "runtime/util/TextFormat.h"

#include "runtime/util/Log.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace com::tallowcrest::util
{

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
