#pragma once

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

} // namespace testsupport
