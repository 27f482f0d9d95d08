#pragma once

#include <dds/dds.h>

#include "dds/core/Status.hpp"

namespace dds::detail
{

/// Copies of the DDS library's statuses as values of this interface.
core::status::RequestedDeadlineMissedStatus fromNative(const dds_requested_deadline_missed_status_t& status);
core::status::RequestedIncompatibleQosStatus fromNative(const dds_requested_incompatible_qos_status_t& status);
core::status::SampleRejectedStatus fromNative(const dds_sample_rejected_status_t& status);
core::status::LivelinessChangedStatus fromNative(const dds_liveliness_changed_status_t& status);
core::status::SubscriptionMatchedStatus fromNative(const dds_subscription_matched_status_t& status);
core::status::PublicationMatchedStatus fromNative(const dds_publication_matched_status_t& status);
core::status::SampleLostStatus fromNative(const dds_sample_lost_status_t& status);

} // namespace dds::detail
