#pragma once

#include "bench/korabench/CommandMix.h"
#include "runtime/util/UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace korabench
{

using Clock = std::chrono::steady_clock;

/// Where a server listens; a name or a numeric address.
struct Endpoint
{
    std::string address = "127.0.0.1";
    std::uint16_t port = 5194;
};

/// The server cannot be reached, or drops the connection before its first answer, as the bridge does while all its
/// places for controllers are taken.
class NotConnected : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A connected socket that sends each request at once and whose receives wait, up to 10 seconds. Throws NotConnected.
com::tallowcrest::util::UniqueFd connectTo(const Endpoint& endpoint);

/// One connection with one request outstanding at most. Owned by one thread. Throws std::runtime_error when the server
/// goes away or does not answer within 10 seconds.
class Client
{
public:
    virtual ~Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    int fd() const { return m_socket.get(); }
    bool isWaiting() const { return m_isWaiting; }

    /// Sends the next request in turn.
    virtual void send() = 0;
    /// Takes what has arrived, waiting if there is nothing; true when the response is whole. Then it has been checked,
    /// and the following are about it.
    virtual bool receive() = 0;
    virtual Command lastCommand() const = 0;
    /// Entries that the request had carried out.
    virtual std::uint32_t lastEntries() const = 0;
    Clock::time_point receivedAt() const { return m_receivedAt; }
    std::chrono::nanoseconds latency() const { return m_receivedAt - m_sentAt; }

    /// Responses so far.
    std::uint32_t responseCount() const { return m_responses; }
    /// Entries in all responses to changes so far.
    virtual std::uint64_t changesSeen() const { return 0; }

protected:
    /// Connects. Throws NotConnected.
    explicit Client(const Endpoint& endpoint);

    /// Sends one whole request and starts the clock.
    void sendAll(std::span<const std::uint8_t> request);
    /// What has arrived, at least one byte unless a signal came; stops the clock.
    std::size_t receiveSome(std::span<std::uint8_t> space);
    /// Ends the waiting: the response has been checked.
    void finish();
    [[noreturn]] void fail(const std::string& what) const;
    /// The beginning of what is said of a failure.
    virtual std::string described(const std::string& what) const { return what; }

private:
    /// The server is not there, or no longer.
    [[noreturn]] void failGone(const std::string& what) const;

    com::tallowcrest::util::UniqueFd m_socket;
    std::uint32_t m_responses = 0;
    bool m_isWaiting = false;
    Clock::time_point m_sentAt;
    Clock::time_point m_receivedAt;
};

} // namespace korabench
