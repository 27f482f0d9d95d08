#include "runtime/misc/TelnetClient.h"

#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"
#include "runtime/util/SystemError.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <utility>

namespace com::tallowcrest::misc
{
using util::systemErrorText;

namespace
{
constexpr std::string_view timingMarkRefusal = "\xff\xfc\x06"; // IAC WONT TIMING-MARK

using util::SocketOption;

constexpr std::array<SocketOption, 3> clientOptions{{
    {"SO_LINGER", SocketOption::Kind::Linger, SOL_SOCKET, SO_LINGER, 1},
    {"TCP_NODELAY", SocketOption::Kind::Number, IPPROTO_TCP, TCP_NODELAY, 1, "client socket"},
    // Urgent bytes stay in their place in the stream.
    {"SO_OOBINLINE", SocketOption::Kind::Number, SOL_SOCKET, SO_OOBINLINE, 1, "client socket"},
}};

/// Lets the system find out within about two minutes that a client has gone without a word.
constexpr std::array<SocketOption, 4> probeOptions{{
    {"SO_KEEPALIVE", SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, 60, "client socket"},
    {"SO_KEEPALIVE", SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPINTVL, 15, "client socket"},
    {"SO_KEEPALIVE", SocketOption::Kind::Number, IPPROTO_TCP, TCP_KEEPCNT, 4, "client socket"},
    {"SO_KEEPALIVE", SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1, "client socket"},
}};
} // namespace

TelnetClient::TelnetClient(log4cxx::LoggerPtr logger, TelnetListener::Accepted accepted, std::uint64_t session)
    : m_logger(std::move(logger)), m_address(accepted.address), m_session(session), m_socket(std::move(accepted.socket))
{}

void TelnetClient::setOptions() const
{
    util::tryEachSocketOption(m_socket.get(), clientOptions, m_logger);
    if (const auto failure = util::applySocketOptions(m_socket.get(), probeOptions))
    {
        LOG_WARN_F(m_logger, "%s", failure->text.c_str());
    }
}

void TelnetClient::send(std::string_view text)
{
    const std::lock_guard lock(m_mutex);
    if (m_hasFailed || m_isClosing)
    {
        return;
    }
    // Once text was dropped, dropping goes on until the client has caught up: one gap rather than many small ones.
    if (m_droppedBytes > 0 || m_pending.size() + text.size() > maxPendingSize)
    {
        if (m_droppedBytes == 0)
        {
            LOG_INFO_F(m_logger, "telnet clientFd %d is not reading, dropping text", m_socket.get());
        }
        m_droppedBytes += text.size();
        return;
    }
    m_pending += text;
    sendPending();
}

void TelnetClient::flush()
{
    const std::lock_guard lock(m_mutex);
    sendPending();
}

bool TelnetClient::receive()
{
    std::array<char, 512> bytes{};
    const ssize_t count = ::recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0)
    {
        const std::string_view arrived(bytes.data(), static_cast<std::size_t>(count));
        m_isBrowser = m_httpSign.feed(arrived);
        if (m_isBrowser)
        {
            return false;
        }
        m_lines.feed(arrived);
        if (m_lines.takeTimingMarkRequest())
        {
            answerTimingMark();
        }
        return true;
    }
    return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

void TelnetClient::close()
{
    if (!m_socket.isOpen())
    {
        return;
    }
    bool mayCatchUp = false;
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
        mayCatchUp = m_droppedBytes == 0;
    }
    constexpr auto drainTime = std::chrono::milliseconds(500);
    const auto deadline = std::chrono::steady_clock::now() + drainTime;
    while (mayCatchUp && hasPendingText() && std::chrono::steady_clock::now() < deadline)
    {
        constexpr int stepMs = 50;
        pollfd wait{m_socket.get(), POLLOUT, 0};
        static_cast<void>(::poll(&wait, 1, stepMs));
        flush();
    }
    util::UniqueFd socket;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_pending.empty())
        {
            static_cast<void>(util::applySocketOptions(m_socket.get(), util::resetOnClose));
            m_pending.clear();
            m_hasPendingText.store(false);
        }
        socket = std::move(m_socket);
    }
    // Outside the lock: closing may linger for a second.
    ::shutdown(socket.get(), SHUT_RDWR);
}

void TelnetClient::answerTimingMark()
{
    const std::lock_guard lock(m_mutex);
    m_owesTimingMark = !m_hasFailed && !m_isClosing;
    sendPending();
}

void TelnetClient::sendPending()
{
    writeToSocket();
    if (m_pending.empty() && m_droppedBytes > 0 && !m_hasFailed)
    {
        LOG_INFO_F(m_logger, "telnet clientFd %d is reading again, %" PRIu64 " bytes of text were dropped",
                   m_socket.get(), m_droppedBytes);
        m_droppedBytes = 0;
    }
    // Behind the text that was kept, and not while text is dropped: any number of requests is owed one answer.
    if (m_owesTimingMark && m_droppedBytes == 0)
    {
        m_owesTimingMark = false;
        m_pending += timingMarkRefusal;
        writeToSocket();
    }
    m_hasPendingText.store(!m_pending.empty());
}

void TelnetClient::writeToSocket()
{
    std::size_t sent = 0;
    while (sent < m_pending.size())
    {
        const ssize_t count =
            ::send(m_socket.get(), m_pending.data() + sent, m_pending.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0)
        {
            sent += static_cast<std::size_t>(count);
        }
        else if (errno == EAGAIN || errno == EWOULDBLOCK)
        {
            break;
        }
        else if (errno != EINTR)
        {
            noteFailure();
            sent = m_pending.size();
        }
    }
    m_pending.erase(0, sent);
}

void TelnetClient::noteFailure()
{
    // Once per connection: each later text would only fail in the same way.
    m_hasFailed = true;
    m_owesTimingMark = false;
    LOG_INFO_F(m_logger, "Failed to write data to telnet clientFd %d, %s", m_socket.get(), systemErrorText().c_str());
}

} // namespace com::tallowcrest::misc
