#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

namespace testsupport
{

/// The descriptor of the socket that listens in this process; -1 when there is none.
inline int listeningDescriptor()
{
    for (int fd = 0; fd < 256; ++fd)
    {
        int listens = 0;
        socklen_t size = sizeof listens;
        if (::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0)
        {
            return fd;
        }
    }
    return -1;
}

/// The descriptor of this process's end of a connection whose other end is `client`; -1 when there is none.
inline int otherEndOf(int client)
{
    sockaddr_in wanted{};
    socklen_t size = sizeof wanted;
    if (::getsockname(client, reinterpret_cast<sockaddr*>(&wanted), &size) != 0)
    {
        return -1;
    }
    for (int fd = 0; fd < 256; ++fd)
    {
        sockaddr_in peer{};
        size = sizeof peer;
        if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && peer.sin_family == AF_INET &&
            peer.sin_port == wanted.sin_port)
        {
            return fd;
        }
    }
    return -1;
}

} // namespace testsupport
