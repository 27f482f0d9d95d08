#pragma once

#include "runtime/misc/TelnetLineReader.h"
#include "runtime/misc/TelnetListener.h"
#include "runtime/util/HttpSign.h"
#include "runtime/util/UniqueFd.h"

#include <log4cxx/logger.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace com::tallowcrest::misc
{

/// One operator's connection to the telnet console, from acceptance to its end. Held by shared pointers; whoever holds
/// one may `send` and `flush`, also after `close`: the descriptor is used under a mutex and never after it is closed.
/// `receive`, `takeLine` and `close` belong to the thread that reads lines.
///
/// Nobody ever waits for a client that does not read: what its socket does not take is kept, up to a limit, for
/// `flush`; beyond that whole texts are dropped and counted until it has caught up.
class TelnetClient
{
public:
    static constexpr std::size_t maxPendingSize = 262144;

    /// `session` tells this connection from all others of the console; never 0.
    TelnetClient(log4cxx::LoggerPtr logger, TelnetListener::Accepted accepted, std::uint64_t session);
    TelnetClient(const TelnetClient&) = delete;
    TelnetClient& operator=(const TelnetClient&) = delete;

    std::uint64_t session() const { return m_session; }
    /// IPv4, in network order.
    std::uint32_t address() const { return m_address; }

    /// Sets the options of a new client's socket; failures are logged.
    void setOptions() const;

    /// Sends or keeps `text`. Any thread; never waits.
    void send(std::string_view text);
    /// Sends kept text as far as the socket takes it. Any thread; never waits.
    void flush();
    /// True while text is kept. Any thread, without a lock.
    bool hasPendingText() const { return m_hasPendingText.load(); }

    /// The descriptor to poll for input, for the reading thread.
    int fd() const { return m_socket.get(); }
    /// Takes what has arrived; false when the client is gone, or is none: a browser's lines are not taken.
    bool receive();
    /// True once `receive` has found that a browser talks.
    bool isBrowser() const { return m_isBrowser; }
    std::optional<std::string> takeLine() { return m_lines.takeLine(); }

    /// Gives text that is still kept half a second to leave, then shuts the connection down and closes it. A client
    /// that does not read is reset. Idempotent.
    void close();

private:
    void answerTimingMark();
    void sendPending();
    void writeToSocket();
    void noteFailure();

    const log4cxx::LoggerPtr m_logger;
    const std::uint32_t m_address;
    const std::uint64_t m_session;
    util::UniqueFd m_socket; // closed under the mutex; the reading thread alone looks at it without

    // Of the reading thread.
    TelnetLineReader m_lines;
    util::HttpSign m_httpSign{util::HttpSign::Methods::OnEveryLine};
    bool m_isBrowser = false;

    std::mutex m_mutex; // guards everything below and all writing to the socket
    std::string m_pending;
    std::uint64_t m_droppedBytes = 0;
    bool m_owesTimingMark = false;
    bool m_hasFailed = false;
    bool m_isClosing = false;
    std::atomic<bool> m_hasPendingText{false};
};

} // namespace com::tallowcrest::misc
