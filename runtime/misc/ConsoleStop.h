#pragma once

/// The request to end the operator's dialogue, as a service manager makes it with SIGTERM. Once made it stays: a
/// waiting `getline` returns `consoleStopping` at once and the menu loop ends.
namespace com::tallowcrest::misc
{

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
