#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"
#include "buswrappers/TopicSub.h"
#include "tools/korasim/RouterObserver.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

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

inline Liveness livenessOf(const dds::sub::SampleInfo& info)
{
    using dds::sub::status::InstanceState;
    switch (info.state().instance_state())
    {
    case InstanceState::NotAliveDisposed:
        return Liveness::Disposed;
    case InstanceState::NotAliveNoWriters:
        return Liveness::NoWriters;
    case InstanceState::Alive:
        break;
    }
    return Liveness::Alive;
}

/// Hands every sample of one topic to two functions, on the apartment: data to one, the end of an instance, with its
/// key fields, to the other. Data whose instance has ended by the time it is taken goes to both.
template <typename T>
class SampleSub : public com::tallowcrest::routing::TopicSub<T>
{
public:
    using OnData = std::function<void(const T&)>;
    using OnGone = std::function<void(const T&, Liveness)>;

    SampleSub(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment, const std::string& topicName,
              OnData onData, OnGone onGone)
        : com::tallowcrest::routing::TopicSub<T>(std::move(apartment), topicName,
                                                 dds::core::policy::DurabilityKind::TRANSIENT_LOCAL),
          m_onData(std::move(onData)), m_onGone(std::move(onGone))
    {}

    void onDataAvailable() override
    {
        for (const auto& sample : this->takeAll())
        {
            if (sample.info().valid())
            {
                m_onData(sample.data());
            }
            if (const Liveness liveness = livenessOf(sample.info()); liveness != Liveness::Alive)
            {
                m_onGone(sample.data(), liveness);
            }
        }
    }

private:
    OnData m_onData;
    OnGone m_onGone;
};

} // namespace korasim
