#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/Rsp.h"
#include "koracommand/RspQueue.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

#include <memory>
#include <utility>

/// A finished response that waits for the end of its round on the bridge apartment: only then is what its command wrote
/// on the bus, and the controller may hear of it. Owned by the round.
class RspDelivery final : public com::tallowcrest::util::Pooled<RspDelivery, com::tallowcrest::apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "RspDelivery";

    RspDelivery(std::shared_ptr<RspQueue> rspQueue, std::shared_ptr<ConnectionContext> context);

    void setRsp(std::unique_ptr<Rsp> rsp) { m_rsp = std::move(rsp); }
    /// Lets no exception out.
    void doIt() override;

private:
    const std::shared_ptr<RspQueue> m_rspQueue;
    const std::shared_ptr<ConnectionContext> m_context;
    std::unique_ptr<Rsp> m_rsp;
};

/// Pushes the response into the queue at once. A failure is logged.
void deliver(std::unique_ptr<Rsp> rsp, RspQueue& rspQueue, ConnectionContext& context) noexcept;
