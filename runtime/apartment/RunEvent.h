#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <memory>

namespace com::tallowcrest::apartment
{

/// Runs the event and deletes it. An exception is logged at ERROR to "KORABRIDGE" and goes no further.
void runEvent(std::unique_ptr<DoItEvent> event) noexcept;

} // namespace com::tallowcrest::apartment
