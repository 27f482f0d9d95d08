#pragma once

#include "koraclient/Message.h"
#include "runtime/util/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// What the fake bridge does about one request: sends bytes (none: stays silent), then perhaps closes the connection.
struct FakeReply
{
    std::vector<std::uint8_t> bytes;
    bool isClosing = false;
};

/// A server on a free loopback port that serves one client after another on a thread of its own and answers each
/// request with what the handler returns. The handler runs on that thread. Counts responses per connection as the
/// bridge does.
class FakeBridge
{
public:
    using Handler = std::function<FakeReply(const koraclient::Message& request, std::uint32_t sequence)>;

    /// The address is one of this machine's own, in host order; port 0: any that is free.
    explicit FakeBridge(Handler handler, std::uint32_t address = 0x7f000001, std::uint16_t port = 0);
    ~FakeBridge();
    FakeBridge(const FakeBridge&) = delete;
    FakeBridge& operator=(const FakeBridge&) = delete;

    std::uint16_t port() const { return m_port; }
    /// All requests so far.
    std::vector<koraclient::Message> requests() const;

private:
    void serve();
    void serveClient(int client);
    /// Exactly `count` more bytes appended to `bytes`; false when the client left or the fake stops.
    bool readBytes(int client, std::vector<std::uint8_t>& bytes, std::size_t count) const;
    /// Waits for bytes or clients; false when the fake stops.
    bool waitFor(int fd) const;

    Handler m_handler;
    com::tallowcrest::util::UniqueFd m_listener;
    com::tallowcrest::util::UniqueFd m_stop;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::vector<koraclient::Message> m_requests;
    std::thread m_thread;
};

/// The bytes of big-endian words.
std::vector<std::uint8_t> bytesOf(const std::vector<std::uint32_t>& words);

/// A well-formed response: header, echoed tag and the words from offset 20 on.
std::vector<std::uint8_t> responseTo(const koraclient::Message& request, std::uint32_t sequence, std::uint32_t id,
                                     const std::vector<std::uint32_t>& words);
