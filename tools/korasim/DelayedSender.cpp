#include "tools/korasim/DelayedSender.h"

#include <future>
#include <memory>
#include <utility>

namespace korasim
{

void runOn(com::tallowcrest::apartment::SendDoItEvent& apartment, const std::function<void()>& function)
{
    std::packaged_task<void()> task(function);
    auto done = task.get_future();
    post(apartment, std::make_unique<FunctionEvent>([&task] { task(); }));
    done.get();
}

DelayedSender::DelayedSender(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment)
    : m_apartment(std::move(apartment)), m_thread([this] { run(); })
{}

DelayedSender::~DelayedSender()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void DelayedSender::send(Event event, std::chrono::milliseconds delay)
{
    {
        const std::lock_guard lock(m_mutex);
        m_events.emplace(Clock::now() + delay, std::move(event));
    }
    m_changed.notify_one();
}

void DelayedSender::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_isEnding)
    {
        if (m_events.empty())
        {
            m_changed.wait(lock);
            continue;
        }
        if (const auto due = m_events.begin()->first; Clock::now() < due)
        {
            m_changed.wait_until(lock, due);
            continue;
        }
        Event event = std::move(m_events.begin()->second);
        m_events.erase(m_events.begin());
        lock.unlock();
        post(*m_apartment, std::move(event));
        lock.lock();
    }
}

} // namespace korasim
