#include "dds/detail/NativeListener.hpp"

#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeStatus.hpp"

#include <exception>
#include <new>
#include <tuple>
#include <type_traits>

namespace dds::detail
{

namespace
{

using core::status::StatusMask;

constexpr const char* whatThrew(const ReaderCallback*)
{
    return "a reader's listener threw";
}

constexpr const char* whatThrew(const WriterCallback*)
{
    return "a writer's listener threw";
}

/// Calls `callback` with a copy of the status.
template <typename Callback, typename Native>
void callWith(const Callback& callback, const Native& native) noexcept
{
    try
    {
        callback(fromNative(native));
    }
    catch (const std::exception& error)
    {
        reportError(whatThrew(&callback), error.what());
    }
    catch (...)
    {
        reportError(whatThrew(&callback), "no standard exception");
    }
}

template <typename Callback, typename Native>
void forward(dds_entity_t, const Native native, void* callback) noexcept
{
    callWith(*static_cast<const Callback*>(callback), native);
}

void forwardDataAvailable(dds_entity_t, void* callback) noexcept
{
    callWith(*static_cast<const ReaderCallback*>(callback), NativeDataAvailable{});
}

/// There is nothing to ask for: taking the data looks at the status.
dds_return_t askForDataAvailable(dds_entity_t, NativeDataAvailable*)
{
    return DDS_RETCODE_OK;
}

/// One status of a reader: its bit in the standard's numbers and in the library's, how the library is told whom to
/// call, and how it is asked, which also marks the status as looked at.
template <typename Callback, typename Native>
struct Row
{
    StatusMask mask;
    std::uint32_t nativeBit = 0;
    void (*attach)(dds_listener_t*, Callback) = nullptr;
    dds_return_t (*ask)(dds_entity_t, Native*) = nullptr;

    void attachTo(dds_listener_t* listener) const
    {
        if constexpr (std::is_same_v<Native, NativeDataAvailable>)
        {
            attach(listener, forwardDataAvailable);
        }
        else
        {
            attach(listener, forward<ReaderCallback, Native>);
        }
    }

    void callFor(dds_entity_t reader, const ReaderCallback& callback) const
    {
        Native native{};
        check(ask(reader, &native), "asking for a status of a reader");
        callWith(callback, native);
    }
};
template <typename Callback, typename Native>
Row(StatusMask, std::uint32_t, void (*)(dds_listener_t*, Callback), dds_return_t (*)(dds_entity_t, Native*))
    -> Row<Callback, Native>;

constexpr std::tuple readerStatuses{
    Row{StatusMask::requested_deadline_missed(), DDS_REQUESTED_DEADLINE_MISSED_STATUS,
        dds_lset_requested_deadline_missed, dds_get_requested_deadline_missed_status},
    Row{StatusMask::requested_incompatible_qos(), DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS,
        dds_lset_requested_incompatible_qos, dds_get_requested_incompatible_qos_status},
    Row{StatusMask::sample_rejected(), DDS_SAMPLE_REJECTED_STATUS, dds_lset_sample_rejected,
        dds_get_sample_rejected_status},
    Row{StatusMask::liveliness_changed(), DDS_LIVELINESS_CHANGED_STATUS, dds_lset_liveliness_changed,
        dds_get_liveliness_changed_status},
    Row{StatusMask::data_available(), DDS_DATA_AVAILABLE_STATUS, dds_lset_data_available, askForDataAvailable},
    Row{StatusMask::subscription_matched(), DDS_SUBSCRIPTION_MATCHED_STATUS, dds_lset_subscription_matched,
        dds_get_subscription_matched_status},
    Row{StatusMask::sample_lost(), DDS_SAMPLE_LOST_STATUS, dds_lset_sample_lost, dds_get_sample_lost_status},
};

/// Calls `visit(row)` for each status of `mask`, in the order above.
template <typename Visit>
void forEach(StatusMask mask, Visit visit)
{
    const auto visitOne = [mask, &visit](const auto& row) {
        if (mask.contains(row.mask))
        {
            visit(row);
        }
    };
    std::apply([&visitOne](const auto&... row) { (visitOne(row), ...); }, readerStatuses);
}

} // namespace

NativeListener::NativeListener(void* callback) : m_listener(dds_create_listener(callback))
{
    if (m_listener == nullptr)
    {
        throw std::bad_alloc();
    }
}

NativeListener::NativeListener(WriterCallback& callback, StatusMask mask)
    : NativeListener(static_cast<void*>(&callback))
{
    if (mask.contains(StatusMask::publication_matched()))
    {
        dds_lset_publication_matched(m_listener.get(), forward<WriterCallback, dds_publication_matched_status_t>);
    }
}

NativeListener::NativeListener(ReaderCallback& callback, StatusMask mask)
    : NativeListener(static_cast<void*>(&callback))
{
    forEach(mask, [this](const auto& row) { row.attachTo(m_listener.get()); });
}

void callForPending(dds_entity_t reader, const ReaderCallback& callback, StatusMask mask)
{
    std::uint32_t raised = 0;
    check(dds_get_status_changes(reader, &raised), "asking for the statuses of a reader");
    forEach(mask, [&](const auto& row) {
        if ((raised & row.nativeBit) != 0)
        {
            row.callFor(reader, callback);
        }
    });
}

void callForPending(dds_entity_t writer, const WriterCallback& callback, StatusMask mask)
{
    std::uint32_t raised = 0;
    check(dds_get_status_changes(writer, &raised), "asking for the statuses of a writer");
    if (mask.contains(StatusMask::publication_matched()) && (raised & DDS_PUBLICATION_MATCHED_STATUS) != 0)
    {
        dds_publication_matched_status_t native{};
        check(dds_get_publication_matched_status(writer, &native), "asking for a status of a writer");
        callWith(callback, native);
    }
}

void detachListener(dds_entity_t entity) noexcept
{
    const dds_return_t code = dds_set_listener(entity, nullptr);
    if (code < 0)
    {
        reportError("detaching a listener", dds_strretcode(code));
    }
}

} // namespace dds::detail
