#include "koracommand/RspQueue.h"

#include "runtime/util/Log.h"

#include <exception>

namespace
{
/// Entries for which there is room from the start.
constexpr std::size_t reservedEntries = 4;
} // namespace

RspQueue::RspQueue()
{
    m_rsps.reserve(reservedEntries);
}

void RspQueue::push(std::unique_ptr<Rsp> rsp)
{
    {
        const std::lock_guard lock(m_mutex);
        m_rsps.push_back(std::move(rsp));
    }
    m_pushed.notify_one();
}

std::unique_ptr<Rsp> RspQueue::pop()
{
    std::unique_lock lock(m_mutex);
    m_pushed.wait(lock, [this] { return !m_rsps.empty(); });
    return takeFront();
}

std::optional<std::unique_ptr<Rsp>> RspQueue::popWithin(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    if (!m_pushed.wait_for(lock, timeout, [this] { return !m_rsps.empty(); }))
    {
        return std::nullopt;
    }
    return takeFront();
}

std::unique_ptr<Rsp> RspQueue::takeFront()
{
    auto rsp = std::move(m_rsps.front());
    m_rsps.erase(m_rsps.begin());
    return rsp;
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
