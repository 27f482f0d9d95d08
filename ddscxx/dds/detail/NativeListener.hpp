#pragma once

#include "dds/core/Status.hpp"
#include "dds/detail/Entity.hpp"

#include <dds/dds.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace dds::detail
{

/// What a reader calls with each of its statuses, on threads of the DDS library.
using ReaderCallback = std::function<void(const core::status::ReaderStatus&)>;

/// What a writer calls when readers come and go, on threads of the DDS library.
using WriterCallback = std::function<void(const core::status::PublicationMatchedStatus&)>;

/// A listener in the DDS library's own form, which turns its C callbacks into calls of a callback of these. The library
/// copies it when it is attached. An exception that the callback throws is reported in the library's log and goes no
/// further, because there is only C above it.
class NativeListener
{
public:
    /// Listens to the statuses of `mask`; `callback` must outlive the attachment.
    NativeListener(ReaderCallback& callback, core::status::StatusMask mask);
    NativeListener(WriterCallback& callback, core::status::StatusMask mask);

    const dds_listener_t* get() const { return m_listener.get(); }

private:
    struct Deleter
    {
        void operator()(dds_listener_t* listener) const { dds_delete_listener(listener); }
    };

    explicit NativeListener(void* callback);

    std::unique_ptr<dds_listener_t, Deleter> m_listener;
};

/// Calls `callback`, on this thread, for each status of `mask` that the entity has raised and nobody has looked at:
/// attaching a listener alone does not.
void callForPending(dds_entity_t reader, const ReaderCallback& callback, core::status::StatusMask mask);
void callForPending(dds_entity_t writer, const WriterCallback& callback, core::status::StatusMask mask);

/// The listener of one entity, which its owner detaches before the entity goes.
template <typename Callback>
class AttachedListener
{
public:
    /// Attaches `callback` in place of an earlier one; an empty one detaches. Waits for calls that run, so it must not
    /// be called from one. Statuses that were raised before are called for on this thread. `whose` ends the text of a
    /// refusal.
    void attach(dds_entity_t entity, Callback callback, core::status::StatusMask mask, const std::string& whose)
    {
        if (callback == nullptr)
        {
            check(dds_set_listener(entity, nullptr), "detaching the listener of" + whose);
            m_callback.reset();
            return;
        }
        auto attached = std::make_unique<Callback>(std::move(callback));
        const NativeListener listener(*attached, mask);
        check(dds_set_listener(entity, listener.get()), "attaching a listener to" + whose);
        m_callback = std::move(attached);
        callForPending(entity, *m_callback, mask);
    }

private:
    std::unique_ptr<Callback> m_callback; ///< stays where the library's listener finds it
};

/// Waits for callbacks that run; none comes after that.
void detachListener(dds_entity_t entity) noexcept;

} // namespace dds::detail
