#include "koraserver/ControllerSocket.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

void prepareToClose(int socket)
{
    int unsent = 0;
    const bool dataWaits = ::ioctl(socket, SIOCOUTQNSD, &unsent) == 0 && unsent > 0;
    // On with 0 seconds resets; off lets the system finish in the background.
    const linger value{dataWaits ? 1 : 0, 0};
    // A failure leaves the socket as it was; its close then waits a second at most.
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_LINGER, &value, sizeof value));
}
