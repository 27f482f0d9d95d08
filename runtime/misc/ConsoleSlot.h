#pragma once

#include <memory>

namespace com::tallowcrest::misc
{

class TelnetIO;

/// The process-wide slot of the telnet console. Thread-safe.

/// A copy of the shared pointer; empty before the console is installed and after reset.
std::shared_ptr<TelnetIO> console();

/// The installed console's telnet-only flag; false while the slot is empty.
bool isConsoleTelnetOnly();

/// Installs a console; an empty pointer empties the slot.
void setConsole(std::shared_ptr<TelnetIO> console);

/// Empties the slot. The console lives on while others hold it.
void resetConsole();

} // namespace com::tallowcrest::misc
