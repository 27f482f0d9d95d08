// The console's functions for harnesses that have no operator: text is formatted and dropped. Defined here instead of
// by Console.cpp, which the linker then leaves out.

#include "runtime/misc/Console.h"
#include "tests/fuzz/support/Require.h"

#include <array>
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
    std::array<char, 2048> text{};
    fuzz::require(std::vsnprintf(text.data(), text.size(), format, arguments) >= 0, "a format is right");
}

int getline(char*, int)
{
    return consoleEndOfInput;
}

void beginConsoleRound() {}

} // namespace com::tallowcrest::misc
