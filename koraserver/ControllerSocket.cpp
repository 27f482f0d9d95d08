#include "koraserver/ControllerSocket.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace
{

bool hasUnsentBytes(int socket)
{
    int unsent = 0;
    return ::ioctl(socket, SIOCOUTQNSD, &unsent) == 0 && unsent > 0;
}

} // namespace

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
