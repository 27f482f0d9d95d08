#include "koracommand/RspDelivery.h"

#include "runtime/util/ReportError.h"

#include <exception>

RspDelivery::RspDelivery(std::shared_ptr<RspQueue> rspQueue, std::shared_ptr<ConnectionContext> context)
    : m_rspQueue(std::move(rspQueue)), m_context(std::move(context))
{}

void RspDelivery::doIt()
{
    deliver(std::move(m_rsp), *m_rspQueue, *m_context);
}

void deliver(std::unique_ptr<Rsp> rsp, RspQueue& rspQueue, ConnectionContext& context) noexcept
{
    try
    {
        rspQueue.push(std::move(rsp));
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(context.logger(), "Response lost: %s", error.what());
    }
}
