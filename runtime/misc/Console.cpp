#include "runtime/misc/Console.h"

#include "runtime/misc/StandardInput.h"

#include <cstdio>

namespace com::tallowcrest::misc
{

void print(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vprint(format, arguments);
    va_end(arguments);
}

void vprint(const char* format, std::va_list arguments)
{
    static_cast<void>(std::vprintf(format, arguments));
    static_cast<void>(std::fflush(stdout));
}

int getline(char* buffer, int size)
{
    return standardInput().getline(buffer, size);
}

void beginConsoleRound() {}

} // namespace com::tallowcrest::misc
