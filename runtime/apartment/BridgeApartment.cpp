#include "runtime/apartment/BridgeApartment.h"

#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/PreferThread.h"

#include <mutex>
#include <utility>

namespace com::tallowcrest::apartment
{

namespace
{

struct Slot
{
    std::mutex mutex;
    std::shared_ptr<Apartment> apartment;
};

/// Never destroyed: threads may still look into it while the process ends.
Slot& slot()
{
    static Slot& theSlot = *new Slot;
    return theSlot;
}

} // namespace

std::shared_ptr<Apartment> bridgeApartment()
{
    Slot& current = slot();
    const std::lock_guard lock(current.mutex);
    return current.apartment;
}

void createBridgeApartment(std::shared_ptr<RoundBracket> bracket)
{
    Slot& current = slot();
    const std::lock_guard lock(current.mutex);
    if (current.apartment != nullptr)
    {
        return;
    }
    auto apartment = std::make_shared<Apartment>("Bridge Apartment", std::move(bracket));
    // Whoever waits for an answer waits for this thread.
    post(*apartment, std::make_unique<PreferThread>());
    apartment->start();
    current.apartment = std::move(apartment);
}

void setBridgeApartment(std::shared_ptr<Apartment> apartment)
{
    Slot& current = slot();
    // The former apartment goes after the lock: its end joins a thread that may want the slot.
    const std::lock_guard lock(current.mutex);
    current.apartment.swap(apartment);
}

void resetBridgeApartment()
{
    setBridgeApartment(nullptr);
}

} // namespace com::tallowcrest::apartment
