#include "bench/floor/FloorApartment.h"

#include "bench/floor/FloorAnswer.h"

namespace bench
{

FloorApartment::FloorApartment(Writer<Output> targets) : m_targets(targets), m_thread([this] { run(); }) {}

FloorApartment::~FloorApartment()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isRunning = false;
    }
    m_queued.notify_one();
    m_thread.join();
}

void FloorApartment::send(FloorExchange& exchange)
{
    {
        const std::lock_guard lock(m_mutex);
        m_queue.push_back(&exchange);
    }
    m_queued.notify_one();
}

void FloorApartment::run()
{
    for (;;)
    {
        FloorExchange* exchange = nullptr;
        {
            std::unique_lock lock(m_mutex);
            m_queued.wait(lock, [this] { return !m_queue.empty() || !m_isRunning; });
            if (m_queue.empty())
            {
                return;
            }
            exchange = m_queue.front();
            m_queue.pop_front();
        }
        exchange->responseBytes = answer(exchange->request, exchange->response, m_targets);
        exchange->push();
    }
}

} // namespace bench
