#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/korabench/LatencyStats.h"
#include "bench/korabench/Request.h"
#include "bench/korabench/ResponseCheck.h"
#include "koracommand/WireLayout.h"
#include "runtime/util/UniqueFd.h"

namespace korabench
{

using Clock = std::chrono::steady_clock;

/// Where the bridge listens; a numeric IPv4 address.
struct Endpoint
{
    std::string address = "127.0.0.1";
    std::uint16_t port = 5194;
};

/// The bridge cannot be reached, or drops the connection before its first answer, as it does while all its places for
/// controllers are taken.
class NotConnected : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One connection with one request outstanding at most: sends the requests in turn and checks each response. Owned by
/// one thread. Throws std::runtime_error when the bridge cannot be reached, goes away, does not answer within 10
/// seconds or answers wrongly; the text says what was wrong.
class Controller
{
public:
    /// Connects. Throws NotConnected.
    Controller(const Endpoint& endpoint, std::vector<Request> requests);

    int fd() const { return m_socket.get(); }
    bool isWaiting() const { return m_isWaiting; }
    Clock::time_point sentAt() const { return m_sentAt; }
    /// The request that was sent last.
    const Request& lastRequest() const { return m_requests[m_last]; }

    /// Sends the next request in turn.
    void send();
    /// Takes what has arrived, waiting if there is nothing; true when the response is whole. Then it has been checked,
    /// and the following are about it.
    bool receive();
    Clock::time_point receivedAt() const { return m_receivedAt; }
    LatencyStats::Nanoseconds latency() const { return m_receivedAt - m_sentAt; }

    /// Sends the first request and waits for its answer, to know that the connection is served. Throws NotConnected.
    void probe();
    /// Polls all requests for changes among the requests until each had an answer without any.
    void drainChanges();
    std::uint32_t responseCount() const { return m_responses; }
    /// Entries in all responses to changes so far.
    std::uint64_t changesSeen() const { return m_changesSeen; }

private:
    void exchange(std::size_t index);
    void send(std::size_t index);
    void check();
    [[noreturn]] void fail(const std::string& what) const;
    /// The bridge is not there, or no longer.
    [[noreturn]] void failGone(const std::string& what) const;
    std::string described(const std::string& what) const;

    com::tallowcrest::util::UniqueFd m_socket;
    std::vector<Request> m_requests;
    std::size_t m_next = 0;
    std::size_t m_last = 0;
    std::uint32_t m_tag;
    std::uint32_t m_responses = 0;
    bool m_isWaiting = false;
    Clock::time_point m_sentAt;
    Clock::time_point m_receivedAt;
    std::size_t m_held = 0;
    std::array<std::uint8_t, wireLayout::maxMessageBytes> m_buffer{};
    ChangesCount m_lastChanges;
    std::uint64_t m_changesSeen = 0;
};

} // namespace korabench
