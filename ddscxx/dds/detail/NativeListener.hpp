#pragma once

#include <dds/dds.h>

#include <memory>

#include "dds/core/Status.hpp"
#include "dds/detail/ReaderCallbacks.hpp"

namespace dds::detail
{

/// A listener in the DDS library's own form, which turns its C callbacks into calls of `ReaderCallbacks`. The library
/// copies it when it is attached. An exception that a callback throws is reported in the library's log and goes no
/// further, because there is only C above it.
class NativeListener
{
public:
    /// Listens to the statuses of `mask`; `callbacks` must outlive the attachment.
    NativeListener(ReaderCallbacks& callbacks, core::status::StatusMask mask);

    const dds_listener_t* get() const { return m_listener.get(); }

private:
    struct Deleter
    {
        void operator()(dds_listener_t* listener) const { dds_delete_listener(listener); }
    };

    std::unique_ptr<dds_listener_t, Deleter> m_listener;
};

/// Calls `callbacks`, on this thread, for each status of `mask` that the reader has raised and nobody has looked at:
/// attaching a listener alone does not.
void callForPending(dds_entity_t reader, ReaderCallbacks& callbacks, core::status::StatusMask mask);

} // namespace dds::detail
