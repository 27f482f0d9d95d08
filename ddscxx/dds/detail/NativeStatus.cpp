#include "dds/detail/NativeStatus.hpp"

namespace dds::detail
{

namespace status = core::status;

namespace
{

/// The library counts without a sign, the interface with one.
std::int32_t count(std::uint32_t value)
{
    return static_cast<std::int32_t>(value);
}

template <typename Native>
status::CountedStatus counts(const Native& native)
{
    return {count(native.total_count), native.total_count_change};
}

} // namespace

status::RequestedDeadlineMissedStatus fromNative(const dds_requested_deadline_missed_status_t& native)
{
    return {counts(native), core::InstanceHandle(native.last_instance_handle)};
}

status::RequestedIncompatibleQosStatus fromNative(const dds_requested_incompatible_qos_status_t& native)
{
    return {counts(native), native.last_policy_id};
}

status::SampleRejectedStatus fromNative(const dds_sample_rejected_status_t& native)
{
    auto reason = status::SampleRejectedState::NotRejected;
    switch (native.last_reason)
    {
    case DDS_NOT_REJECTED:
        break;
    case DDS_REJECTED_BY_INSTANCES_LIMIT:
        reason = status::SampleRejectedState::RejectedByInstancesLimit;
        break;
    case DDS_REJECTED_BY_SAMPLES_LIMIT:
        reason = status::SampleRejectedState::RejectedBySamplesLimit;
        break;
    case DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT:
        reason = status::SampleRejectedState::RejectedBySamplesPerInstanceLimit;
        break;
    }
    return {counts(native), reason, core::InstanceHandle(native.last_instance_handle)};
}

status::LivelinessChangedStatus fromNative(const dds_liveliness_changed_status_t& native)
{
    return {count(native.alive_count), count(native.not_alive_count), native.alive_count_change,
            native.not_alive_count_change, core::InstanceHandle(native.last_publication_handle)};
}

status::SubscriptionMatchedStatus fromNative(const dds_subscription_matched_status_t& native)
{
    return {counts(native), count(native.current_count), native.current_count_change,
            core::InstanceHandle(native.last_publication_handle)};
}

status::PublicationMatchedStatus fromNative(const dds_publication_matched_status_t& native)
{
    return {counts(native), count(native.current_count), native.current_count_change,
            core::InstanceHandle(native.last_subscription_handle)};
}

status::SampleLostStatus fromNative(const dds_sample_lost_status_t& native)
{
    return {count(native.total_count), native.total_count_change};
}

} // namespace dds::detail
