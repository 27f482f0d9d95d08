#pragma once

#include "tools/korasim/DelayedSender.h"
#include "tools/korasim/RouterEnds.h"
#include "tools/korasim/RouterObserver.h"
#include "tools/korasim/RouterOptions.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korasim
{

/// The state of a simulated router and its ends of the bus. Bound to the router's apartment: made, called and, while
/// the apartment runs, emptied there. Bus exceptions go to the caller.
class RouterCore
{
public:
    using ComponentInfo = com::tallowcrest::dds_::routing::ComponentInfo;
    using MacroLevel = RouterWriters::MacroLevel;
    using MacroXptOutput = RouterWriters::MacroXptOutput;
    using RouterMemberMacroXpts = RouterWriters::RouterMemberMacroXpts;
    using Observers = std::vector<std::shared_ptr<RouterObserver>>;

    /// `delayed` must outlive this object or end before it is destroyed; it hands events to `apartment`.
    RouterCore(RouterOptions options, Observers observers,
               const std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent>& apartment, DelayedSender& delayed);

    void announce();
    void reAnnounce(const std::optional<std::string>& partition);
    void disposeMember();
    void vanish() { m_writers.reset(); }

    void publishRanges(Signal signal, const RouterMemberMacroXpts& ranges);
    void disposeRanges(Signal signal, std::uint16_t memberIndex);
    void publishLevel(const MacroLevel& level);
    void disposeLevel(std::uint16_t levelId);
    void setStatus(Signal signal, const MacroXptOutput& status);
    void disposeStatus(Signal signal, std::uint32_t output);
    void localTarget(Signal signal, const MacroXptOutput& target);

    void setFollowing(bool isFollowing) { m_isFollowing = isFollowing; }
    void setStatusDelay(std::chrono::milliseconds delay) { m_options.statusDelay = delay; }
    void setRefused(Signal signal, std::uint32_t output, bool isRefused);
    std::vector<MacroXptOutput> currentStatus(Signal signal) const;
    std::optional<MacroXptOutput> lastTarget(Signal signal, std::uint32_t output) const;

private:
    /// What the router says and hears about one signal type.
    struct Known
    {
        std::map<std::uint16_t, RouterMemberMacroXpts> ranges;
        std::map<std::uint32_t, MacroXptOutput> status;
        std::map<std::uint32_t, MacroXptOutput> targets;     ///< the last of each output
        std::map<std::uint32_t, MacroXptOutput> unconfirmed; ///< targets that came while there were no writers
    };

    Known& of(Signal signal) { return signal == Signal::Video ? m_video : m_audio; }
    const Known& of(Signal signal) const { return signal == Signal::Video ? m_video : m_audio; }
    RouterWriters& writers();
    void writeMember();
    void writeEverything();
    void confirm(Signal signal, const MacroXptOutput& target);
    void joinSubs();
    void onTarget(Signal signal, const MacroXptOutput& target);
    void onTargetGone(Signal signal, const MacroXptOutput& target, Liveness liveness);
    void onComponent(const ComponentInfo& component, Liveness liveness);

    RouterOptions m_options;
    Observers m_observers;
    DelayedSender& m_delayed;
    bool m_isFollowing = true;
    Known m_video;
    Known m_audio;
    std::map<std::uint16_t, MacroLevel> m_levels;
    SampleSub<MacroXptOutput> m_videoTargets;
    SampleSub<MacroXptOutput> m_audioTargets;
    SampleSub<ComponentInfo> m_components;
    std::unique_ptr<RouterWriters> m_writers; ///< empty before the first use and after `vanish`
};

} // namespace korasim
