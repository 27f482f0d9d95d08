#pragma once

#include "buswrappers/ListenerEvents.h"
#include "dds/sub/DataReader.hpp"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Log.h"

#include <exception>
#include <memory>
#include <utility>

namespace com::tallowcrest::routing
{

/// Turns each callback of a reader of T into one event on the apartment, which calls the handler there; those for data
/// into no more events than `WaitingEvents` lets wait. Called on DDS threads, several at a time; it allocates and
/// posts, nothing else. When an event cannot be had or posted it is destroyed, the loss is logged at ERROR, and no
/// exception leaves. Owned by the wrapper that owns the reader.
template <typename T>
class ListenerEventSender final : public dds::sub::DataReaderListener<T>
{
public:
    using Reader = dds::sub::DataReader<T>;

    /// `handler` is called on the apartment for as long as it lives.
    ListenerEventSender(std::weak_ptr<DataReaderListenerHandler> handler,
                        std::shared_ptr<apartment::SendDoItEvent> apartment)
        : m_handler(std::move(handler)), m_apartment(std::move(apartment)), m_logger(util::bridgeLogger())
    {}

    void on_requested_deadline_missed(Reader&, const dds::core::status::RequestedDeadlineMissedStatus& status) override
    {
        send<EventOnRequestedDeadlineMissed>(status);
    }
    void on_requested_incompatible_qos(Reader&,
                                       const dds::core::status::RequestedIncompatibleQosStatus& status) override
    {
        send<EventOnRequestedIncompatibleQos>(status);
    }
    void on_sample_rejected(Reader&, const dds::core::status::SampleRejectedStatus& status) override
    {
        send<EventOnSampleRejected>(status);
    }
    void on_liveliness_changed(Reader&, const dds::core::status::LivelinessChangedStatus& status) override
    {
        send<EventOnLivelinessChanged>(status);
    }
    void on_data_available(Reader&) override { lookAtData(); }
    void on_subscription_matched(Reader&, const dds::core::status::SubscriptionMatchedStatus& status) override
    {
        send<EventOnSubscriptionMatched>(status);
    }
    void on_sample_lost(Reader&, const dds::core::status::SampleLostStatus& status) override
    {
        send<EventOnSampleLost>(status);
    }

    /// Sends the event of a callback for data; none while enough of them wait.
    void lookAtData()
    {
        if (m_waiting->add())
        {
            send<EventOnDataAvailable>(m_waiting);
        }
    }

private:
    template <typename Event, typename... Status>
    void send(const Status&... status)
    {
        try
        {
            apartment::post(*m_apartment, std::make_unique<Event>(m_handler, status...));
        }
        catch (const std::exception& error)
        {
            LOG_ERROR_F(m_logger, "%s lost: %s", Event::poolName, error.what());
        }
    }

    const std::weak_ptr<DataReaderListenerHandler> m_handler;
    const std::shared_ptr<apartment::SendDoItEvent> m_apartment;
    const std::shared_ptr<WaitingEvents> m_waiting = std::make_shared<WaitingEvents>();
    const log4cxx::LoggerPtr m_logger;
};

} // namespace com::tallowcrest::routing
