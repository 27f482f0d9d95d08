#pragma once

#include "dds/core/Status.hpp"

namespace dds::detail
{

/// What a reader calls for its listener, on threads of the DDS library.
class ReaderCallbacks
{
public:
    ReaderCallbacks() = default;
    virtual ~ReaderCallbacks() = default;
    ReaderCallbacks(const ReaderCallbacks&) = delete;
    ReaderCallbacks& operator=(const ReaderCallbacks&) = delete;

    virtual void onRequestedDeadlineMissed(const core::status::RequestedDeadlineMissedStatus& status) = 0;
    virtual void onRequestedIncompatibleQos(const core::status::RequestedIncompatibleQosStatus& status) = 0;
    virtual void onSampleRejected(const core::status::SampleRejectedStatus& status) = 0;
    virtual void onLivelinessChanged(const core::status::LivelinessChangedStatus& status) = 0;
    virtual void onDataAvailable() = 0;
    virtual void onSubscriptionMatched(const core::status::SubscriptionMatchedStatus& status) = 0;
    virtual void onSampleLost(const core::status::SampleLostStatus& status) = 0;
};

} // namespace dds::detail
