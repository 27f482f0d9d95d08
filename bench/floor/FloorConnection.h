#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <thread>

#include "bench/floor/FloorApartment.h"
#include "koraserver/MessageCutter.h"
#include "runtime/util/UniqueFd.h"

namespace bench
{

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
