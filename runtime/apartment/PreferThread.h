#pragma once

#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/ThreadPriority.h"

namespace com::tallowcrest::apartment
{

/// Gives the apartment that runs it preference over ordinary threads. Sent once, first.
class PreferThread final : public DoItEvent
{
public:
    void doIt() override { preferThisThread(); }
};

} // namespace com::tallowcrest::apartment
