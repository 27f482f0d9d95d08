#include "runtime/misc/Console.h"

#include "runtime/misc/StandardInput.h"
#include "runtime/misc/TelnetIO.h"

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
    if (const auto telnet = console())
    {
        telnet->Print(format, arguments);
        return;
    }
    static_cast<void>(std::vprintf(format, arguments));
    static_cast<void>(std::fflush(stdout));
}

int getline(char* buffer, int size)
{
    if (const auto telnet = console())
    {
        return telnet->Getline(buffer, size);
    }
    return standardInput().getline(buffer, size);
}

void beginConsoleRound()
{
    if (const auto telnet = console())
    {
        telnet->beginRound();
    }
}

} // namespace com::tallowcrest::misc
