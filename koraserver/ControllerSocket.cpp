#include "koraserver/ControllerSocket.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

using com::tallowcrest::util::Failure;
using com::tallowcrest::util::SocketOption;
using com::tallowcrest::util::SourceLocation;
using com::tallowcrest::util::UniqueFd;

namespace
{

constexpr std::array<SocketOption, 1> shared{
    {{"SO_REUSEADDR", SocketOption::Kind::Number, SOL_SOCKET, SO_REUSEADDR, 1}}};
constexpr std::array<SocketOption, 1> exclusive{
    {{"SO_REUSEADDR", SocketOption::Kind::Number, SOL_SOCKET, SO_REUSEADDR, 0}}};

bool hasUnsentBytes(int socket)
{
    int unsent = 0;
    return ::ioctl(socket, SIOCOUTQNSD, &unsent) == 0 && unsent > 0;
}

} // namespace

std::optional<Failure> ControllerPort::hold(SourceLocation where)
{
    if (m_socket.isOpen())
    {
        return std::nullopt;
    }
    auto bound = bindSocket(controllerPortPlan, m_logger, where);
    if (auto* const failure = std::get_if<Failure>(&bound))
    {
        return std::move(*failure);
    }
    m_socket = std::get<UniqueFd>(std::move(bound));
    auto failure = applySocketOptions(m_socket.get(), exclusive, where);
    if (failure)
    {
        release();
    }
    return failure;
}

std::optional<Failure> ControllerPort::listen(SourceLocation where)
{
    auto failure = applySocketOptions(m_socket.get(), shared, where);
    if (!failure)
    {
        failure = listenOn(m_socket.get(), controllerPortPlan, m_logger, m_logger, where);
    }
    if (failure)
    {
        release();
    }
    m_isListening = !failure;
    return failure;
}

void ControllerPort::refuse()
{
    if (!m_isListening)
    {
        return;
    }
    m_isListening = false;
    // In this order there is no moment in which another socket could be bound.
    if (applySocketOptions(m_socket.get(), exclusive) || ::shutdown(m_socket.get(), SHUT_RDWR) != 0)
    {
        release(); // rather than a port that listens on
    }
}

void ControllerPort::release()
{
    m_socket.reset();
    m_isListening = false;
}

void waitUntilSent(int socket, std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    // The socket counts as writable once nothing is unsent. Where the system refuses that, there is nothing to wait on.
    constexpr int unsentLimit = 1;
    if (::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &unsentLimit, sizeof unsentLimit) != 0)
    {
        return;
    }
    const auto end = Clock::now() + limit;
    while (hasUnsentBytes(socket) && Clock::now() < end)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd wait{socket, POLLOUT, 0};
        if (::poll(&wait, 1, static_cast<int>(left.count())) > 0 && (wait.revents & ~POLLOUT) != 0)
        {
            return;
        }
    }
}

void prepareToClose(int socket)
{
    const bool dataWaits = hasUnsentBytes(socket);
    // On with 0 seconds resets; off lets the system finish in the background.
    const linger value{dataWaits ? 1 : 0, 0};
    // A failure leaves the socket as it was; its close then waits a second at most.
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_LINGER, &value, sizeof value));
}
