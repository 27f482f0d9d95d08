#pragma once

#include "runtime/misc/ConsoleStop.h"

#include <cstdarg>

/// The console: one output and one input path for everything that an operator sees. With no telnet console installed
/// (ConsoleSlot.h) it is standard output and standard input, otherwise the connected telnet client.
namespace com::tallowcrest::misc
{

/// Results of `getline` other than a line's length. All are negative.
inline constexpr int consoleEndOfInput = -1;     ///< standard input has ended: no line will ever come again
inline constexpr int consoleSessionChanged = -2; ///< another operator is at the console: ask the question afresh
inline constexpr int consoleStopping = -3;       ///< the console or the process is shutting down

/// printf-style text to the console. Any thread; never waits for a telnet client.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);
[[gnu::format(printf, 1, 0)]] void vprint(const char* format, std::va_list arguments);

/// Reads one line into `buffer` (`size` bytes, always terminated; a longer line loses its rest) without its line end.
/// Returns the length, or one of the negative results above, on which the caller gives up its question. One thread at
/// a time: the menu's. Returns within a second of `requestConsoleStop`.
int getline(char* buffer, int size);

/// Says that what the calling thread prints from now on is meant for the operator who is connected now. When another
/// one takes over, `getline` returns `consoleSessionChanged`, and what the thread still prints for the first one is
/// dropped until it comes here, or asks, again.
void beginConsoleRound();

} // namespace com::tallowcrest::misc
