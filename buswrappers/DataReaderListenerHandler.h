#pragma once

#include "dds/core/Status.hpp"

namespace com::tallowcrest::routing
{

/// What a reader's owner is told, always on the bridge apartment. Each operation does nothing by default.
class DataReaderListenerHandler
{
public:
    DataReaderListenerHandler() = default;
    virtual ~DataReaderListenerHandler() = default;
    DataReaderListenerHandler(const DataReaderListenerHandler&) = delete;
    DataReaderListenerHandler& operator=(const DataReaderListenerHandler&) = delete;

    virtual void onRequestedDeadlineMissed(const dds::core::status::RequestedDeadlineMissedStatus&) {}
    virtual void onRequestedIncompatibleQos(const dds::core::status::RequestedIncompatibleQosStatus&) {}
    virtual void onSampleRejected(const dds::core::status::SampleRejectedStatus&) {}
    virtual void onLivelinessChanged(const dds::core::status::LivelinessChangedStatus&) {}
    virtual void onDataAvailable() {}
    virtual void onSubscriptionMatched(const dds::core::status::SubscriptionMatchedStatus&) {}
    virtual void onSampleLost(const dds::core::status::SampleLostStatus&) {}
};

} // namespace com::tallowcrest::routing
