#pragma once

#include "runtime/apartment/Round.h"

#include <memory>

namespace com::tallowcrest::apartment
{

class Apartment;

/// The process-wide slot of the one apartment on which all bridge logic runs. Thread-safe.

/// A copy of the shared pointer; empty before creation and after reset.
std::shared_ptr<Apartment> bridgeApartment();

/// Creates the apartment named "Bridge Apartment" and starts it; nothing when the slot is full. `bracket` as for
/// Apartment.
void createBridgeApartment(std::shared_ptr<RoundBracket> bracket = nullptr);

/// Stores an apartment (tests); an empty pointer empties the slot.
void setBridgeApartment(std::shared_ptr<Apartment> apartment);

/// Empties the slot. The apartment lives on while others hold it.
void resetBridgeApartment();

} // namespace com::tallowcrest::apartment
