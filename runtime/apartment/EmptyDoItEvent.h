#pragma once

#include "runtime/apartment/DoItEvent.h"

namespace com::tallowcrest::apartment
{

/// Does nothing; sent to wake an apartment's thread.
class EmptyDoItEvent final : public DoItEvent
{
public:
    void doIt() override {}
};

} // namespace com::tallowcrest::apartment
