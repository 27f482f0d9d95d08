#include "runtime/misc/TelnetListener.h"

#include "runtime/misc/SocketOptions.h"
#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace com::tallowcrest::misc
{
using util::systemErrorText;

TelnetListener::TelnetListener(log4cxx::LoggerPtr logger, std::uint16_t port)
    : m_logger(std::move(logger)), m_port(port)
{}

bool TelnetListener::open(bool logFailures)
{
    const log4cxx::LoggerPtr failures = logFailures ? m_logger : nullptr;
    if (m_socket.isOpen())
    {
        LOG_INFO_F(m_logger, "shutting down TCP server socket prior to re-opening");
        m_socket.reset();
    }
    m_socket.reset(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!m_socket.isOpen())
    {
        LOG_WARN_F(failures, "socket() failed, %s", systemErrorText().c_str());
        return false;
    }
    if (!allowAddressReuse(m_socket.get()))
    {
        LOG_WARN_F(failures, "failed setting SO_REUSEADDR socket option on socket %d, %s", m_socket.get(),
                   systemErrorText().c_str());
    }
    if (!sendWithoutDelay(m_socket.get()))
    {
        LOG_WARN_F(failures, "failed setting TCP_NODELAY socket option on socket %d, %s", m_socket.get(),
                   systemErrorText().c_str());
    }
    if (!bindToPort(failures))
    {
        m_socket.reset();
        return false;
    }
    return true;
}

bool TelnetListener::bindToPort(const log4cxx::LoggerPtr& failures)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(m_port);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    std::array<char, INET_ADDRSTRLEN> dotted{};
    static_cast<void>(::inet_ntop(AF_INET, &address.sin_addr, dotted.data(), dotted.size()));

    if (::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    {
        LOG_WARN_F(failures, "failed binding socket %d to address/port %s, %s", m_socket.get(), dotted.data(),
                   systemErrorText().c_str());
        return false;
    }
    const bool isListening = ::listen(m_socket.get(), backlog) == 0;
    const int listenError = errno;
    LOG_INFO_F(isListening ? m_logger : failures, "bind IP addr 0x%x (%s) Port: %u Socket %d",
               ntohl(address.sin_addr.s_addr), dotted.data(), static_cast<unsigned int>(m_port), m_socket.get());
    if (!isListening)
    {
        LOG_WARN_F(failures, "listen failed using socket %d to address/port %s, %s\n", m_socket.get(), dotted.data(),
                   systemErrorText(listenError).c_str());
        return false;
    }
    return true;
}

std::optional<TelnetListener::Accepted> TelnetListener::accept() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    Accepted accepted;
    accepted.socket.reset(
        ::accept4(m_socket.get(), reinterpret_cast<sockaddr*>(&address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!accepted.socket.isOpen())
    {
        return std::nullopt;
    }
    std::memcpy(accepted.address.data(), &address.sin_addr.s_addr, accepted.address.size());
    return accepted;
}

} // namespace com::tallowcrest::misc
