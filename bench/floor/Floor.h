#pragma once

#include "bench/support/BusEndpoint.h"
#include "koracommand/WireLayout.h"
#include "koraserver/MessageCutter.h"
#include "runtime/util/UniqueFd.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <thread>

namespace bench
{

/// Carries out one request in network order and puts its answer, in network order too, into `response` (8192 bytes);
/// returns the answer's length. Each entry of a take, coherent take or set output LPR is one write; no entry is
/// checked, nothing is kept, and the answers to queries are made up: their lengths are the bridge's, and every output
/// shows the input of its own number. Ids that load tests have no use for get the error response.
std::size_t answer(std::span<const std::uint8_t> request, std::span<std::uint8_t> response, Writer<Output>& targets);

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

/// How a connection waits for the next bytes.
enum class Receive
{
    Timed,   ///< a wait of at most 10 ms for the socket to become readable, then a receive
    Blocking ///< the receive alone
};

/// One controller on a thread of its own: reads a request, hands it to the apartment, waits, sends the answer. Owned by
/// the thread that accepts; ends when the controller goes or by the destructor.
class FloorConnection
{
public:
    FloorConnection(com::tallowcrest::util::UniqueFd socket, FloorApartment& apartment, Receive receive);
    ~FloorConnection();

    bool isRunning() const { return m_isRunning; }

private:
    void run();
    bool waitForBytes() const;
    void handle(std::span<const std::uint8_t> request);

    const com::tallowcrest::util::UniqueFd m_socket;
    FloorApartment& m_apartment;
    const Receive m_receive;
    MessageCutter m_cutter;
    FloorExchange m_exchange;
    std::uint32_t m_sequence = 0;
    std::atomic<bool> m_isRunning{true};
    std::thread m_thread;
};

} // namespace bench
