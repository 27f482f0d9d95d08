#include "runtime/misc/TelnetListener.h"

#include "runtime/util/Log.h"
#include "runtime/util/Sockets.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <utility>
#include <variant>

namespace com::tallowcrest::misc
{
namespace
{

using util::SocketOption;

constexpr std::array<SocketOption, 2> listeningOptions{{
    {"SO_REUSEADDR", SocketOption::Kind::Number, SOL_SOCKET, SO_REUSEADDR, 1},
    {"TCP_NODELAY", SocketOption::Kind::Number, IPPROTO_TCP, TCP_NODELAY, 1},
}};

} // namespace

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
    auto opened = util::openListeningSocket({.port = m_port,
                                             .options = listeningOptions,
                                             .refusedOption = util::RefusedOption::IsLogged,
                                             .typeFlags = SOCK_NONBLOCK},
                                            m_logger, failures);
    if (const auto* failure = std::get_if<util::Failure>(&opened))
    {
        LOG_WARN_F(failures, "%s", failure->text.c_str());
        return false;
    }
    m_socket = std::get<util::UniqueFd>(std::move(opened));
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
    accepted.address = address.sin_addr.s_addr;
    return accepted;
}

} // namespace com::tallowcrest::misc
