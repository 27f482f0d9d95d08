#pragma once

#include "dds/core/Status.hpp"
#include "dds/core/Time.hpp"
#include "dds/sub/Sample.hpp"

#include <dds/dds.h>

/// Copies of the DDS library's statuses, and of what comes with a sample, as values of this interface.
namespace dds::detail
{

/// The library has no struct for the status that carries nothing.
struct NativeDataAvailable
{};

/// The library counts without a sign, the interface with one.
constexpr std::int32_t signedCount(std::uint32_t value)
{
    return static_cast<std::int32_t>(value);
}

template <typename Native>
core::status::CountedStatus countsOf(const Native& native)
{
    return {signedCount(native.total_count), native.total_count_change};
}

inline core::status::SampleRejectedState fromNative(dds_sample_rejected_status_kind reason)
{
    using core::status::SampleRejectedState;
    switch (reason)
    {
    case DDS_NOT_REJECTED:
        break;
    case DDS_REJECTED_BY_INSTANCES_LIMIT:
        return SampleRejectedState::RejectedByInstancesLimit;
    case DDS_REJECTED_BY_SAMPLES_LIMIT:
        return SampleRejectedState::RejectedBySamplesLimit;
    case DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT:
        return SampleRejectedState::RejectedBySamplesPerInstanceLimit;
    }
    return SampleRejectedState::NotRejected;
}

inline core::status::RequestedDeadlineMissedStatus fromNative(const dds_requested_deadline_missed_status_t& native)
{
    return {countsOf(native), core::InstanceHandle(native.last_instance_handle)};
}

inline core::status::RequestedIncompatibleQosStatus fromNative(const dds_requested_incompatible_qos_status_t& native)
{
    return {countsOf(native), native.last_policy_id};
}

inline core::status::SampleRejectedStatus fromNative(const dds_sample_rejected_status_t& native)
{
    return {countsOf(native), fromNative(native.last_reason), core::InstanceHandle(native.last_instance_handle)};
}

inline core::status::LivelinessChangedStatus fromNative(const dds_liveliness_changed_status_t& native)
{
    return {signedCount(native.alive_count), signedCount(native.not_alive_count), native.alive_count_change,
            native.not_alive_count_change, core::InstanceHandle(native.last_publication_handle)};
}

inline core::status::DataAvailableStatus fromNative(NativeDataAvailable)
{
    return {};
}

inline core::status::SubscriptionMatchedStatus fromNative(const dds_subscription_matched_status_t& native)
{
    return {countsOf(native), signedCount(native.current_count), native.current_count_change,
            core::InstanceHandle(native.last_publication_handle)};
}

inline core::status::PublicationMatchedStatus fromNative(const dds_publication_matched_status_t& native)
{
    return {countsOf(native), signedCount(native.current_count), native.current_count_change,
            core::InstanceHandle(native.last_subscription_handle)};
}

inline core::status::SampleLostStatus fromNative(const dds_sample_lost_status_t& native)
{
    return {signedCount(native.total_count), native.total_count_change};
}

inline sub::SampleInfo fromNative(const dds_sample_info_t& native)
{
    return {native.valid_data, sub::status::DataState(static_cast<sub::status::InstanceState>(native.instance_state)),
            core::Time(native.source_timestamp), core::InstanceHandle(native.instance_handle),
            core::InstanceHandle(native.publication_handle)};
}

} // namespace dds::detail
