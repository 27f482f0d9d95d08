#include "dds/detail/NativeListener.hpp"

#include <exception>
#include <new>

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeStatus.hpp"
#include "dds/detail/Report.hpp"

namespace dds::detail
{

namespace
{

template <typename Call>
void guarded(Call call) noexcept
{
    try
    {
        call();
    }
    catch (const std::exception& error)
    {
        reportError("a reader's listener threw", error.what());
    }
    catch (...)
    {
        reportError("a reader's listener threw", "no standard exception");
    }
}

/// The C callback of one status: `Operation` of the callbacks is called with a copy of the status.
template <typename Native, auto Operation>
void forward(dds_entity_t, const Native native, void* callbacks) noexcept
{
    guarded([&native, callbacks] { (static_cast<ReaderCallbacks*>(callbacks)->*Operation)(fromNative(native)); });
}

/// Asks the reader for a status, which also marks it as looked at, and calls `Operation` with it.
template <auto Operation, typename Native>
void callWith(dds_entity_t reader, dds_return_t (*get)(dds_entity_t, Native*), ReaderCallbacks& callbacks)
{
    Native native{};
    check(get(reader, &native), "asking for a status of a reader");
    guarded([&native, &callbacks] { (callbacks.*Operation)(fromNative(native)); });
}

void forwardDataAvailable(dds_entity_t, void* callbacks) noexcept
{
    guarded([callbacks] { static_cast<ReaderCallbacks*>(callbacks)->onDataAvailable(); });
}

} // namespace

NativeListener::NativeListener(ReaderCallbacks& callbacks, core::status::StatusMask mask)
    : m_listener(dds_create_listener(&callbacks))
{
    using core::status::StatusMask;
    if (m_listener == nullptr)
    {
        throw std::bad_alloc();
    }
    dds_listener_t* const listener = m_listener.get();
    if (mask.contains(StatusMask::requested_deadline_missed()))
    {
        dds_lset_requested_deadline_missed(
            listener, forward<dds_requested_deadline_missed_status_t, &ReaderCallbacks::onRequestedDeadlineMissed>);
    }
    if (mask.contains(StatusMask::requested_incompatible_qos()))
    {
        dds_lset_requested_incompatible_qos(
            listener, forward<dds_requested_incompatible_qos_status_t, &ReaderCallbacks::onRequestedIncompatibleQos>);
    }
    if (mask.contains(StatusMask::sample_rejected()))
    {
        dds_lset_sample_rejected(listener, forward<dds_sample_rejected_status_t, &ReaderCallbacks::onSampleRejected>);
    }
    if (mask.contains(StatusMask::liveliness_changed()))
    {
        dds_lset_liveliness_changed(listener,
                                    forward<dds_liveliness_changed_status_t, &ReaderCallbacks::onLivelinessChanged>);
    }
    if (mask.contains(StatusMask::data_available()))
    {
        dds_lset_data_available(listener, forwardDataAvailable);
    }
    if (mask.contains(StatusMask::subscription_matched()))
    {
        dds_lset_subscription_matched(
            listener, forward<dds_subscription_matched_status_t, &ReaderCallbacks::onSubscriptionMatched>);
    }
    if (mask.contains(StatusMask::sample_lost()))
    {
        dds_lset_sample_lost(listener, forward<dds_sample_lost_status_t, &ReaderCallbacks::onSampleLost>);
    }
}

void callForPending(dds_entity_t reader, ReaderCallbacks& callbacks, core::status::StatusMask mask)
{
    using core::status::StatusMask;
    std::uint32_t raised = 0;
    check(dds_get_status_changes(reader, &raised), "asking for the statuses of a reader");
    if (mask.contains(StatusMask::requested_deadline_missed()) && (raised & DDS_REQUESTED_DEADLINE_MISSED_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onRequestedDeadlineMissed>(reader, dds_get_requested_deadline_missed_status,
                                                              callbacks);
    }
    if (mask.contains(StatusMask::requested_incompatible_qos()) &&
        (raised & DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onRequestedIncompatibleQos>(reader, dds_get_requested_incompatible_qos_status,
                                                               callbacks);
    }
    if (mask.contains(StatusMask::sample_rejected()) && (raised & DDS_SAMPLE_REJECTED_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onSampleRejected>(reader, dds_get_sample_rejected_status, callbacks);
    }
    if (mask.contains(StatusMask::liveliness_changed()) && (raised & DDS_LIVELINESS_CHANGED_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onLivelinessChanged>(reader, dds_get_liveliness_changed_status, callbacks);
    }
    if (mask.contains(StatusMask::data_available()) && (raised & DDS_DATA_AVAILABLE_STATUS) != 0)
    {
        guarded([&callbacks] { callbacks.onDataAvailable(); });
    }
    if (mask.contains(StatusMask::subscription_matched()) && (raised & DDS_SUBSCRIPTION_MATCHED_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onSubscriptionMatched>(reader, dds_get_subscription_matched_status, callbacks);
    }
    if (mask.contains(StatusMask::sample_lost()) && (raised & DDS_SAMPLE_LOST_STATUS) != 0)
    {
        callWith<&ReaderCallbacks::onSampleLost>(reader, dds_get_sample_lost_status, callbacks);
    }
}

} // namespace dds::detail
