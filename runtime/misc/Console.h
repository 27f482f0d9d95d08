#pragma once

/// The console output path: with no telnet console installed, standard output and standard input; otherwise the
/// connected telnet client. Thread-safe.
namespace com::tallowcrest::misc
{

/// printf-style text to the console.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

/// Reads one line of at most `size` - 1 characters into `buffer`, without its line end; returns the length, or a
/// negative value at the end of input or when the console is shutting down.
int getline(char* buffer, int size);

} // namespace com::tallowcrest::misc
