#include "runtime/misc/ConsoleSlot.h"

#include "runtime/misc/TelnetIO.h"

#include <mutex>
#include <utility>

namespace com::tallowcrest::misc
{
namespace
{
struct Slot
{
    std::mutex mutex;
    std::shared_ptr<TelnetIO> console;
    bool isTelnetOnly = false;
};

Slot& slot()
{
    // Never destroyed: memory pools that report during static destruction still print.
    static Slot& theSlot = *new Slot;
    return theSlot;
}
} // namespace

std::shared_ptr<TelnetIO> console()
{
    const std::lock_guard lock(slot().mutex);
    return slot().console;
}

bool isConsoleTelnetOnly()
{
    const std::lock_guard lock(slot().mutex);
    return slot().isTelnetOnly;
}

void setConsole(std::shared_ptr<TelnetIO> newConsole)
{
    const bool isTelnetOnly = newConsole != nullptr && newConsole->isTelnetOnly();
    {
        const std::lock_guard lock(slot().mutex);
        slot().console.swap(newConsole);
        slot().isTelnetOnly = isTelnetOnly;
    }
    // The console that was in the slot goes here, outside the lock: its destructor may print.
}

void resetConsole()
{
    setConsole(nullptr);
}

} // namespace com::tallowcrest::misc
