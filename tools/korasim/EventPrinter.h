#pragma once

#include "tools/korasim/RouterObserver.h"

#include <iosfwd>
#include <string>

namespace korasim
{

/// "video output 3 input 7 lprId 9 protected when 0"; an input of all ones reads "none".
std::string describeOutput(Signal signal, const com::tallowcrest::dds_::routing::MacroXptOutput& sample);

/// Prints one line for each thing that a router sees or does. Called on the router's thread; the stream should be one
/// that other threads write whole lines to as well.
class EventPrinter final : public RouterObserver
{
public:
    explicit EventPrinter(std::ostream& out) : m_out(out) {}

    void onTarget(Signal signal, const com::tallowcrest::dds_::routing::MacroXptOutput& target,
                  bool isRefused) override;
    void onTargetGone(Signal signal, std::uint32_t output, Liveness liveness) override;
    void onStatus(Signal signal, const com::tallowcrest::dds_::routing::MacroXptOutput& status) override;
    void onComponent(const com::tallowcrest::dds_::routing::ComponentInfo& component, Liveness liveness) override;

private:
    void print(const std::string& line);

    std::ostream& m_out;
};

} // namespace korasim
