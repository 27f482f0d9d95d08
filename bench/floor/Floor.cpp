#include "bench/floor/Floor.h"

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

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
        m_targets.flush();
        exchange->push();
    }
}

FloorConnection::FloorConnection(com::tallowcrest::util::UniqueFd socket, FloorApartment& apartment, Receive receive)
    : m_socket(std::move(socket)), m_apartment(apartment), m_receive(receive), m_thread([this] {
          run();
          m_isRunning = false;
      })
{}

FloorConnection::~FloorConnection()
{
    m_isRunning = false;
    static_cast<void>(::shutdown(m_socket.get(), SHUT_RDWR));
    m_thread.join();
}

void FloorConnection::run()
{
    while (m_isRunning)
    {
        if (m_receive == Receive::Timed && !waitForBytes())
        {
            continue;
        }
        const auto space = m_cutter.freeSpace();
        const ssize_t count = ::recv(m_socket.get(), space.data(), space.size(), 0);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return;
        }
        m_cutter.stored(static_cast<std::size_t>(count));
        while (const auto request = m_cutter.next())
        {
            handle(*request);
        }
    }
}

bool FloorConnection::waitForBytes() const
{
    constexpr int waitMilliseconds = 10;
    pollfd polled{m_socket.get(), POLLIN, 0};
    return ::poll(&polled, 1, waitMilliseconds) > 0;
}

void FloorConnection::handle(std::span<const std::uint8_t> request)
{
    m_exchange.request = request;
    m_apartment.send(m_exchange);
    m_exchange.wait();
    WireWriter(m_exchange.response).setBigEndianWordAt(wireLayout::header::sequence, m_sequence++);
    // A controller that has gone shows in the next receive.
    static_cast<void>(::send(m_socket.get(), m_exchange.response.data(), m_exchange.responseBytes, MSG_NOSIGNAL));
}

} // namespace bench
