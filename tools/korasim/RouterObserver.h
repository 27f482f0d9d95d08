#pragma once

#include "bustypes/RoutingTypes.h"
#include "tools/korasim/Liveness.h"
#include "tools/korasim/Signal.h"

namespace korasim
{

/// Is told what a simulated router sees and does, always on the router's own thread. Must not call back into the
/// router.
class RouterObserver
{
public:
    RouterObserver() = default;
    virtual ~RouterObserver() = default;
    RouterObserver(const RouterObserver&) = delete;
    RouterObserver& operator=(const RouterObserver&) = delete;

    /// A target came; `isRefused` says that it will get no status.
    virtual void onTarget(Signal signal, const com::tallowcrest::dds_::routing::MacroXptOutput& target,
                          bool isRefused) = 0;
    /// A target lost its writers or was disposed of; only the output number means something.
    virtual void onTargetGone(Signal signal, std::uint32_t output, Liveness liveness) = 0;
    /// The router published a status.
    virtual void onStatus(Signal signal, const com::tallowcrest::dds_::routing::MacroXptOutput& status) = 0;
    /// A component record came, lost its writers or was disposed of; without writers only the two keys mean something.
    virtual void onComponent(const com::tallowcrest::dds_::routing::ComponentInfo& component, Liveness liveness) = 0;
};

} // namespace korasim
