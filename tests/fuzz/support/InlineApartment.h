#pragma once

#include "runtime/apartment/Apartment.h"

#include <memory>

namespace fuzz
{

/// An apartment without a thread: an event runs inside `send`, on the harness's one thread, so that an execution is
/// fast and repeats exactly. An exception of an event leaves `send` and is a finding. `isRunning` is always true.
class InlineApartment final : public com::tallowcrest::apartment::Apartment
{
public:
    InlineApartment() : Apartment("Inline Apartment") {}

    void send(com::tallowcrest::apartment::DoItEvent* event) override
    {
        const std::unique_ptr<com::tallowcrest::apartment::DoItEvent> owned(event);
        owned->doIt();
    }
    bool isRunning() const override { return true; }
};

} // namespace fuzz
