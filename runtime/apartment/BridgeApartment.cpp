#include "runtime/apartment/BridgeApartment.h"

#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/ThreadPriority.h"
#include "runtime/util/Slot.h"

#include <utility>

namespace com::tallowcrest::apartment
{

std::shared_ptr<Apartment> bridgeApartment()
{
    return util::processSlot<Apartment>().get();
}

void createBridgeApartment(std::shared_ptr<RoundBracket> bracket)
{
    util::processSlot<Apartment>().setIfEmpty([&bracket] {
        auto apartment = std::make_shared<Apartment>("Bridge Apartment", std::move(bracket));
        // Whoever waits for an answer waits for this thread.
        post(*apartment, std::make_unique<PreferThread>());
        apartment->start();
        return apartment;
    });
}

void setBridgeApartment(std::shared_ptr<Apartment> apartment)
{
    util::processSlot<Apartment>().set(std::move(apartment));
}

void resetBridgeApartment()
{
    util::processSlot<Apartment>().reset();
}

} // namespace com::tallowcrest::apartment
