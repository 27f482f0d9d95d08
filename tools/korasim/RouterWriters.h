#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"
#include "tools/korasim/Signal.h"

#include <string>

namespace korasim
{

/// Every writer of a simulated router: the membership in the bare partition, the rest in the router's. All are
/// TRANSIENT_LOCAL, so that a bridge that comes later finds what was written. Apartment-bound; going away, the writers
/// unregister their instances and dispose of none.
class RouterWriters
{
public:
    using MacroLevel = com::tallowcrest::dds_::routing::MacroLevel;
    using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
    using RouterMember = com::tallowcrest::dds_::routing::RouterMember;
    using RouterMemberMacroXpts = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;
    template <typename T>
    using Pub = com::tallowcrest::routing::TopicPub<T>;

    explicit RouterWriters(const std::string& partition);

    /// Makes the writers of the router's partition anew; what they wrote before is gone.
    void moveTo(const std::string& partition);

    Pub<RouterMember>& member() { return m_member; }
    Pub<MacroLevel>& level() { return m_level; }
    Pub<RouterMemberMacroXpts>& ranges(Signal signal)
    {
        return signal == Signal::Video ? m_videoRanges : m_audioRanges;
    }
    Pub<MacroXptOutput>& status(Signal signal) { return signal == Signal::Video ? m_videoStatus : m_audioStatus; }
    Pub<MacroXptOutput>& localTarget(Signal signal)
    {
        return signal == Signal::Video ? m_videoLocalTarget : m_audioLocalTarget;
    }

private:
    Pub<RouterMember> m_member;
    Pub<MacroLevel> m_level;
    Pub<RouterMemberMacroXpts> m_videoRanges;
    Pub<RouterMemberMacroXpts> m_audioRanges;
    Pub<MacroXptOutput> m_videoStatus;
    Pub<MacroXptOutput> m_audioStatus;
    Pub<MacroXptOutput> m_videoLocalTarget;
    Pub<MacroXptOutput> m_audioLocalTarget;
};

} // namespace korasim
