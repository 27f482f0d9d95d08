#pragma once

#include "dds/core/Status.hpp"

#include <dds/dds.h>

#include <functional>
#include <memory>

namespace dds::detail
{

/// What a reader calls with each of its statuses, on threads of the DDS library.
using ReaderCallback = std::function<void(const core::status::ReaderStatus&)>;

/// A listener in the DDS library's own form, which turns its C callbacks into calls of a `ReaderCallback`. The library
/// copies it when it is attached. An exception that the callback throws is reported in the library's log and goes no
/// further, because there is only C above it.
class NativeListener
{
public:
    /// Listens to the statuses of `mask`; `callback` must outlive the attachment.
    NativeListener(ReaderCallback& callback, core::status::StatusMask mask);

    const dds_listener_t* get() const { return m_listener.get(); }

private:
    struct Deleter
    {
        void operator()(dds_listener_t* listener) const { dds_delete_listener(listener); }
    };

    std::unique_ptr<dds_listener_t, Deleter> m_listener;
};

/// Calls `callback`, on this thread, for each status of `mask` that the reader has raised and nobody has looked at:
/// attaching a listener alone does not.
void callForPending(dds_entity_t reader, const ReaderCallback& callback, core::status::StatusMask mask);

} // namespace dds::detail
