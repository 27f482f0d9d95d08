#pragma once

#include "buswrappers/TopicSub.h"
#include "tools/korasim/Liveness.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace korasim
{

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
