#pragma once

#include "bustypes/RoutingTypes.h"

namespace korasim
{

/// The two kinds of crosspoint; each has topics of its own on the bus.
enum class Signal
{
    Video,
    Audio
};

constexpr const char* toString(Signal signal)
{
    return signal == Signal::Video ? "video" : "audio";
}

/// What the bus says of an instance: somebody writes it, its writers went without a word, or it was disposed of.
enum class Liveness
{
    Alive,
    NoWriters,
    Disposed
};

constexpr const char* toString(Liveness liveness)
{
    switch (liveness)
    {
    case Liveness::Alive:
        return "alive";
    case Liveness::NoWriters:
        return "no writers";
    case Liveness::Disposed:
        return "disposed";
    }
    return "";
}

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
