#include "koraserver/SocketOption.h"

#include "runtime/util/SystemError.h"
#include "runtime/util/TextFormat.h"

#include <sys/ioctl.h>

#include <cerrno>

using com::tallowcrest::util::Failure;
using com::tallowcrest::util::formatText;

namespace
{

int apply(int socket, const SocketOption& option)
{
    switch (option.kind)
    {
    case SocketOption::Kind::Number:
        return ::setsockopt(socket, option.level, option.name, &option.value, sizeof option.value);
    case SocketOption::Kind::Linger: {
        const linger value{1, option.value};
        return ::setsockopt(socket, option.level, option.name, &value, sizeof value);
    }
    case SocketOption::Kind::Blocking: {
        int value = option.value;
        return ::ioctl(socket, FIONBIO, &value);
    }
    }
    errno = EINVAL;
    return -1;
}

} // namespace

std::optional<Failure> applySocketOptions(int socket, std::span<const SocketOption> options)
{
    for (const SocketOption& option : options)
    {
        if (apply(socket, option) != 0)
        {
            const int error = errno;
            return Failure{formatText("%s %d", option.text, error),
                           formatText("failed setting %s socket option on socket %d, %s", option.text, socket,
                                      com::tallowcrest::util::systemErrorText(error).c_str())};
        }
    }
    return std::nullopt;
}
