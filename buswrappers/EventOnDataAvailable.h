#pragma once

#include <memory>
#include <utility>

#include "buswrappers/DataReaderListenerHandler.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

namespace com::tallowcrest::routing
{

/// Carries one "data available" callback from a DDS thread to the apartment. Owned by the apartment's queue. Does
/// nothing when the handler is gone.
class EventOnDataAvailable final : public util::Pooled<EventOnDataAvailable, apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "EventOnDataAvailable";

    explicit EventOnDataAvailable(std::weak_ptr<DataReaderListenerHandler> handler) : m_handler(std::move(handler)) {}

    void doIt() override
    {
        if (const auto handler = m_handler.lock())
        {
            handler->onDataAvailable();
        }
    }

private:
    std::weak_ptr<DataReaderListenerHandler> m_handler;
};

} // namespace com::tallowcrest::routing
