#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <thread>

#include "bench/support/BusEndpoint.h"
#include "koracommand/WireLayout.h"

namespace bench
{

/// One request on its way to the apartment and its answer on the way back: a mutex and a condition variable. Its
/// storage is used over and over. Owned by the connection thread, lent to the apartment from `send` to `wait`.
class FloorExchange
{
public:
    std::span<const std::uint8_t> request;
    std::array<std::uint8_t, wireLayout::maxMessageBytes> response;
    std::size_t responseBytes = 0;

    void push()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isAnswered = true;
        }
        m_answered.notify_one();
    }
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_answered.wait(lock, [this] { return m_isAnswered; });
        m_isAnswered = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_answered;
    bool m_isAnswered = false;
};

/// One thread that answers the requests one at a time, in the order sent: a queue with a mutex and a condition
/// variable.
class FloorApartment
{
public:
    explicit FloorApartment(Writer<Output> targets);
    ~FloorApartment();

    void send(FloorExchange& exchange);

private:
    void run();

    Writer<Output> m_targets;
    std::mutex m_mutex;
    std::condition_variable m_queued;
    std::deque<FloorExchange*> m_queue;
    bool m_isRunning = true;
    std::thread m_thread;
};

} // namespace bench
