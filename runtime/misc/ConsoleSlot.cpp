#include "runtime/misc/ConsoleSlot.h"

#include "runtime/misc/TelnetIO.h"
#include "runtime/util/Slot.h"

#include <utility>

namespace com::tallowcrest::misc
{

std::shared_ptr<TelnetIO> console()
{
    return util::processSlot<TelnetIO>().get();
}

bool isConsoleTelnetOnly()
{
    const auto installed = console();
    return installed != nullptr && installed->isTelnetOnly();
}

void setConsole(std::shared_ptr<TelnetIO> newConsole)
{
    util::processSlot<TelnetIO>().set(std::move(newConsole));
}

void resetConsole()
{
    util::processSlot<TelnetIO>().reset();
}

} // namespace com::tallowcrest::misc
