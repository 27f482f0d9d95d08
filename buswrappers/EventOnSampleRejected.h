#pragma once

#include <memory>
#include <utility>

#include "buswrappers/DataReaderListenerHandler.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

namespace com::tallowcrest::routing
{

/// Carries one "sample rejected" callback, with a copy of its status, from a DDS thread to the apartment. Owned by
/// the apartment's queue. Does nothing when the handler is gone.
class EventOnSampleRejected final : public util::Pooled<EventOnSampleRejected, apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "EventOnSampleRejected";
    using Status = dds::core::status::SampleRejectedStatus;

    EventOnSampleRejected(std::weak_ptr<DataReaderListenerHandler> handler, const Status& status)
        : m_handler(std::move(handler)), m_status(status)
    {}

    void doIt() override
    {
        if (const auto handler = m_handler.lock())
        {
            handler->onSampleRejected(m_status);
        }
    }

private:
    std::weak_ptr<DataReaderListenerHandler> m_handler;
    Status m_status;
};

} // namespace com::tallowcrest::routing
