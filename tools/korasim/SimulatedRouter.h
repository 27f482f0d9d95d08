#pragma once

#include "tools/korasim/RouterObserver.h"
#include "tools/korasim/RouterOptions.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace com::tallowcrest::apartment
{
class Apartment;
}

namespace korasim
{

class DelayedSender;
class RouterCore;

/// A router member on the bus, for tests and demonstrations: announces a membership, crosspoint ranges and levels,
/// follows both target topics and confirms each target by a status, and does on request what goes wrong in real
/// plants. Thread-safe; each operation returns when the bus has taken the samples, and throws the bus's exception when
/// it refuses them. Sees targets from construction on; publishes nothing before `announce`. With its end its writers
/// go without a word: nothing is disposed of.
class SimulatedRouter
{
public:
    using ComponentInfo = com::tallowcrest::dds_::routing::ComponentInfo;
    using MacroLevel = com::tallowcrest::dds_::routing::MacroLevel;
    using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
    using RouterMember = com::tallowcrest::dds_::routing::RouterMember;
    using RouterMemberMacroXpts = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;

    /// The observers are told one after another.
    explicit SimulatedRouter(RouterOptions options, std::vector<std::shared_ptr<RouterObserver>> observers = {});
    ~SimulatedRouter();
    SimulatedRouter(const SimulatedRouter&) = delete;
    SimulatedRouter& operator=(const SimulatedRouter&) = delete;

    /// Publishes the ranges, the levels and every known status, then the membership. Also brings a vanished router
    /// back.
    void announce();
    /// Publishes the membership again; with another partition, everything moves there first.
    void reAnnounce(const std::optional<std::string>& partition = std::nullopt);
    void disposeMember();
    /// Every writer goes, as with a router that loses its power; `announce` makes new ones.
    void vanish();

    void publishRanges(Signal signal, const RouterMemberMacroXpts& ranges);
    void disposeRanges(Signal signal, std::uint16_t memberIndex);
    void publishLevel(const MacroLevel& level);
    void disposeLevel(std::uint16_t levelId);

    void setStatus(Signal signal, const MacroXptOutput& status);
    /// One status after another, without a pause.
    void setStatuses(Signal signal, const std::vector<MacroXptOutput>& statuses);
    void disposeStatus(Signal signal, std::uint32_t output);
    void localTarget(Signal signal, const MacroXptOutput& target);

    /// Whether targets become status at all; true at the start.
    void setFollowing(bool isFollowing);
    void setStatusDelay(std::chrono::milliseconds delay);
    /// Whether targets of one output are ignored from now on.
    void setRefused(Signal signal, std::uint32_t output, bool isRefused);
    /// The status of every output that has one, by output number.
    std::vector<MacroXptOutput> currentStatus(Signal signal) const;
    /// The last target of an output, if any came.
    std::optional<MacroXptOutput> lastTarget(Signal signal, std::uint32_t output) const;

private:
    /// Runs a function on the apartment and waits for it.
    void run(const std::function<void()>& function) const;

    std::shared_ptr<com::tallowcrest::apartment::Apartment> m_apartment;
    std::unique_ptr<DelayedSender> m_delayed;
    std::unique_ptr<RouterCore> m_core;
};

} // namespace korasim
