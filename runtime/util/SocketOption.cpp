#include "runtime/util/SocketOption.h"

#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/TextFormat.h"

#include <sys/ioctl.h>

#include <cerrno>

namespace com::tallowcrest::util
{

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

std::optional<Failure> applySocketOptions(int socket, std::span<const SocketOption> options, SourceLocation where)
{
    for (const SocketOption& option : options)
    {
        if (apply(socket, option) != 0)
        {
            const int error = errno;
            return Failure(formatText("%s %d", option.text, error),
                           formatText("failed setting %s socket option on %s %d, %s", option.text, option.socket,
                                      socket, systemErrorText(error).c_str()),
                           where);
        }
    }
    return std::nullopt;
}

void tryEachSocketOption(int socket, std::span<const SocketOption> options, const log4cxx::LoggerPtr& logger,
                         SourceLocation where)
{
    for (const SocketOption& option : options)
    {
        if (const auto failure = applySocketOptions(socket, {&option, 1}, where))
        {
            LOG_WARN_AT_F(logger, failure->where, "%s", failure->text.c_str());
        }
    }
}

} // namespace com::tallowcrest::util
