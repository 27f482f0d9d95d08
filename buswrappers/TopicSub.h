#pragma once

#include "bustypes/TypeSupport.h"
#include "buswrappers/BusQos.h"
#include "buswrappers/ListenerEventSender.h"
#include "buswrappers/Participant.h"
#include "buswrappers/SampleGate.h"
#include "dds/sub/DataReader.hpp"
#include "dds/sub/Sample.hpp"
#include "dds/topic/Topic.hpp"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Presence.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace com::tallowcrest::routing
{

/// The bus reports a value and the end of its instance (disposed, or no writer left) in one sample when both happened
/// before the reader looked: data that is valid, of an instance that is gone. Handlers look at validity alone, so each
/// such sample is followed here by one without valid data. All others stay as they are.
template <typename T>
dds::sub::LoanedSamples<T> withEndsApart(dds::sub::LoanedSamples<T> taken)
{
    const auto endsWithData = [](const dds::sub::Sample<T>& sample) {
        return sample.info().valid() &&
               sample.info().state().instance_state() != dds::sub::status::InstanceState::Alive;
    };
    if (std::none_of(taken.begin(), taken.end(), endsWithData))
    {
        return taken;
    }
    std::vector<dds::sub::Sample<T>> apart;
    apart.reserve(taken.length() + 1);
    for (const auto& sample : taken)
    {
        apart.push_back(sample);
        if (endsWithData(sample))
        {
            const auto& info = sample.info();
            apart.emplace_back(sample.data(), dds::sub::SampleInfo(false, info.state(), info.timestamp(),
                                                                   info.instance_handle(), info.publication_handle()));
        }
    }
    return dds::sub::LoanedSamples<T>(std::move(apart));
}

/// Reads one topic in the partition of the router that was joined last, and tells the derived class on the apartment.
/// Apartment-bound. It may be made, and joined for the first time, on another thread; it must be destroyed on the
/// apartment or when the apartment has stopped. Events that are still queued then do nothing. What fails the check
/// beside its type, and what has no place here, the derived class never sees.
template <typename T>
class TopicSub : public DataReaderListenerHandler
{
public:
    TopicSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName,
             dds::core::policy::DurabilityKind durability, Places<T> places = {})
        : m_participant(sharedParticipant()), m_topicName(std::move(topicName)), m_durability(durability),
          m_presence(*this), m_sender(m_presence.weak(), std::move(apartment)), m_gate(m_topicName, std::move(places))
    {}

    /// Makes topic, subscriber, reader and listener for `routerPartition` (empty: the bare prefix), also when it is the
    /// one already joined, and releases the earlier ones. Throws the DDS interface's exceptions; the earlier ones then
    /// stay in use.
    virtual void joinRouterPartition(const std::string& routerPartition)
    {
        dds::topic::Topic<T> topic(m_participant, m_topicName, busTopicQos(m_participant, m_durability),
                                   m_gate.filter([this] { m_sender.lookAtData(); }));
        dds::sub::Subscriber subscriber(m_participant, busSubscriberQos(m_participant, routerPartition));
        dds::sub::DataReader<T> reader(subscriber, topic, dds::sub::qos::DataReaderQos(topic.qos()));

        // In its place before the listener is attached: from then on events for it may run on the apartment.
        std::swap(m_reader, reader);
        try
        {
            m_reader.listener(&m_sender, dds::core::status::StatusMask::all());
        }
        catch (...)
        {
            std::swap(m_reader, reader);
            throw;
        }
        m_routerPartition = routerPartition;
    }

    const std::string& topicName() const { return m_topicName; }
    /// The router partition joined last; empty before that.
    const std::string& routerPartition() const { return m_routerPartition; }

protected:
    /// All samples that are there, of any state, valid or not, but for what the gate keeps out; none before the first
    /// join. When there are more than a look takes another event follows. A value whose instance has ended by the time
    /// it is taken is followed by a sample without valid data, as if it had been taken in between.
    dds::sub::LoanedSamples<T> takeAll()
    {
        if (m_reader.is_nil())
        {
            return {};
        }
        auto taken = m_reader.select().max_samples(mostSamplesAtOnce).take();
        if (taken.length() == mostSamplesAtOnce)
        {
            m_sender.lookAtData();
        }
        return withEndsApart(m_gate.sound(std::move(taken)));
    }

private:
    const dds::domain::DomainParticipant m_participant;
    const std::string m_topicName;
    const dds::core::policy::DurabilityKind m_durability;
    std::string m_routerPartition;
    const apartment::Presence<DataReaderListenerHandler> m_presence; ///< for the sender's events
    ListenerEventSender<T> m_sender;
    SampleGate<T> m_gate;
    /// Holds its topic and subscriber. Last, so that it goes first and no callback finds the sender gone.
    dds::sub::DataReader<T> m_reader{dds::core::null};
};

} // namespace com::tallowcrest::routing
