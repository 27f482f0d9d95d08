#pragma once

#include <cstdarg>
#include <memory>
#include <string_view>

/// The console: one output and one input path for everything that an operator sees. With no telnet console installed
/// it is standard output and standard input, otherwise the connected telnet client.
namespace com::tallowcrest::misc
{

class TelnetIO;

/// Results of `getline` other than a line's length. All are negative.
inline constexpr int consoleEndOfInput = -1;     ///< standard input has ended: no line will ever come again
inline constexpr int consoleSessionChanged = -2; ///< another operator is at the console: ask the question afresh
inline constexpr int consoleStopping = -3;       ///< the console or the process is shutting down

/// printf-style text to the console. Any thread; never waits for a telnet client.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);
[[gnu::format(printf, 1, 0)]] void vprint(const char* format, std::va_list arguments);

/// Prints a text of any length to the console line by line, because the console cuts one print at a fixed length.
void printLines(std::string_view text);

/// Reads one line into `buffer` (`size` bytes, always terminated; a longer line loses its rest) without its line end.
/// Returns the length, or one of the negative results above, on which the caller gives up its question. One thread at
/// a time: the menu's. Returns within a second of `requestConsoleStop`.
int getline(char* buffer, int size);

/// Says that what the calling thread prints from now on is meant for the operator who is connected now. When another
/// one takes over, `getline` returns `consoleSessionChanged`, and what the thread still prints for the first one is
/// dropped until it comes here, or asks, again.
void beginConsoleRound();

// The process-wide slot of the telnet console. Thread-safe.

/// A copy of the shared pointer; empty before the console is installed and after reset.
std::shared_ptr<TelnetIO> console();

/// The installed console's telnet-only flag; false while the slot is empty.
bool isConsoleTelnetOnly();

/// Installs a console; an empty pointer empties the slot.
void setConsole(std::shared_ptr<TelnetIO> console);

/// Empties the slot. The console lives on while others hold it.
void resetConsole();

// The request to end the operator's dialogue, as a service manager makes it with SIGTERM. Once made it stays: a
// waiting `getline` returns `consoleStopping` at once and the menu loop ends.

/// Any thread, and safe in a signal handler.
void requestConsoleStop() noexcept;

/// Any thread.
bool consoleStopRequested() noexcept;

/// Takes the request back, for a process that serves the console again. Not while `getline` runs.
void clearConsoleStop() noexcept;

/// A descriptor that is readable while a stop is requested, for `poll`; -1 when the system had none to give, so that a
/// waiter must also look at `consoleStopRequested` once a second. Not the caller's to read or close.
int consoleStopFd() noexcept;

} // namespace com::tallowcrest::misc
