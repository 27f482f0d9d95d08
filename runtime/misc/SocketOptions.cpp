#include "runtime/misc/SocketOptions.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace com::tallowcrest::misc
{
namespace
{
bool setInt(int socket, int level, int option, int value)
{
    return ::setsockopt(socket, level, option, &value, sizeof(value)) == 0;
}
} // namespace

bool allowAddressReuse(int socket)
{
    return setInt(socket, SOL_SOCKET, SO_REUSEADDR, 1);
}

bool sendWithoutDelay(int socket)
{
    return setInt(socket, IPPROTO_TCP, TCP_NODELAY, 1);
}

bool lingerOnClose(int socket, std::chrono::seconds time)
{
    const linger value{1, static_cast<int>(time.count())};
    return ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &value, sizeof(value)) == 0;
}

bool keepUrgentBytesInline(int socket)
{
    return setInt(socket, SOL_SOCKET, SO_OOBINLINE, 1);
}

bool probeIdlePeer(int socket)
{
    constexpr int idleSeconds = 60;
    constexpr int probeSeconds = 15;
    constexpr int probes = 4;
    return setInt(socket, IPPROTO_TCP, TCP_KEEPIDLE, idleSeconds) &&
           setInt(socket, IPPROTO_TCP, TCP_KEEPINTVL, probeSeconds) &&
           setInt(socket, IPPROTO_TCP, TCP_KEEPCNT, probes) && setInt(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
}

} // namespace com::tallowcrest::misc
