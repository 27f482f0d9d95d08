#include "runtime/misc/Console.h"
#include "runtime/misc/TelnetIO.h"
#include "runtime/util/Slot.h"
#include "runtime/util/WakeEvent.h"

#include <atomic>
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

namespace
{
std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only use lock-free atomics");

// Made during static initialisation: a signal handler must not be the first to touch it.
const util::WakeEvent stopEvent;
} // namespace

void requestConsoleStop() noexcept
{
    stopRequested.store(true);
    stopEvent.signal();
}

bool consoleStopRequested() noexcept
{
    return stopRequested.load();
}

void clearConsoleStop() noexcept
{
    stopRequested.store(false);
    stopEvent.clear();
}

int consoleStopFd() noexcept
{
    return stopEvent.fd();
}

} // namespace com::tallowcrest::misc
